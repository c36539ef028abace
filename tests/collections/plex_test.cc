// Tests of the block allocator of the maps.
#include "collections/plex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tests/collections/thrown_text.h"

namespace {

// While it is set, memory comes as another block has left it.
bool g_used = false;
// While it is set, the next allocation is refused and its size noted.
bool g_refuse = false;
std::size_t g_refusedSize = 0;

}  // namespace

// In place of the library's own for this program, under whatever name it has there.
void* operator new(std::size_t size) {
  if (g_refuse) {
    g_refuse = false;
    g_refusedSize = size;
    throw std::bad_alloc();
  }
  void* block = malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return g_used ? memset(block, 0xA5, size) : block;
}

void operator delete(void* block) noexcept { free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { free(block); }

namespace {

static_assert(sizeof(CPlex) == sizeof(void*), "the header is one pointer");

TEST(Plex, CountOfZeroIsRefused) {
  CPlex* head = nullptr;
  EXPECT_EQ(ThrownText([&] { CPlex::Create(head, 0, 8); }), "Invalid Arg!");
  EXPECT_EQ(head, nullptr);
}

TEST(Plex, ElementSizeOfZeroIsRefused) {
  CPlex* head = nullptr;
  EXPECT_EQ(ThrownText([&] { CPlex::Create(head, 8, 0); }), "Invalid Arg!");
  EXPECT_EQ(head, nullptr);
}

TEST(Plex, PayloadFollowsTheHeaderAndIsZero) {
  CPlex* head = nullptr;
  g_used = true;
  CPlex* block = CPlex::Create(head, 10, 24);
  g_used = false;
  const auto* payload = static_cast<const unsigned char*>(block->data());
  EXPECT_EQ(payload, reinterpret_cast<const unsigned char*>(block) + sizeof(void*));
  EXPECT_TRUE(std::all_of(payload, payload + 240, [](unsigned char byte) { return byte == 0; }));
  head->FreeDataChain();
}

TEST(Plex, WholePayloadIsOwned) {
  CPlex* head = nullptr;
  auto* payload = static_cast<unsigned char*>(CPlex::Create(head, 3, 5)->data());
  std::fill(payload, payload + 15, 0xFF);  // the address sanitizer sees a block that is too small
  EXPECT_EQ(payload[14], 0xFF);
  head->FreeDataChain();
}

TEST(Plex, NewBlockGoesInFrontOfTheChain) {
  CPlex* head = nullptr;
  CPlex* first = CPlex::Create(head, 1, 1);
  EXPECT_EQ(head, first);
  EXPECT_EQ(first->pNext, nullptr);
  CPlex* second = CPlex::Create(head, 1, 1);
  EXPECT_EQ(head, second);
  EXPECT_EQ(second->pNext, first);
  head->FreeDataChain();
}

TEST(Plex, FreeingLeavesTheBlocksBeforeAlone) {
  CPlex* head = nullptr;
  CPlex::Create(head, 1, 1);
  CPlex* middle = CPlex::Create(head, 1, 1);
  CPlex* last = CPlex::Create(head, 1, 1);
  middle->FreeDataChain();
  last->pNext = nullptr;
  last->FreeDataChain();  // the leak check sees what remains
}

// The size that is asked for when a block of so many elements is refused; 0 when none is asked for,
// as there is no such size.
std::size_t RefusedSize(unsigned int count, unsigned int size) {
  CPlex* head = nullptr;
  g_refuse = true;
  g_refusedSize = 0;
  EXPECT_THROW(CPlex::Create(head, count, size), std::bad_alloc);
  g_refuse = false;
  EXPECT_EQ(head, nullptr);
  return g_refusedSize;
}

TEST(Plex, SizesBeyond32BitsAreNotCut) {
  const bool is_wide = sizeof(std::size_t) > 4;
  EXPECT_EQ(RefusedSize(0x10001, 0x10000), is_wide ? 0x100010000U + sizeof(CPlex) : 0);
  EXPECT_EQ(RefusedSize(0xFFFFFFFFU, 1), is_wide ? 0xFFFFFFFFU + uint64_t{sizeof(CPlex)} : 0);
}

}  // namespace
