// Tests of the root class of the collections.
#include "collections/object.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "tests/support/vtable_slot.h"

namespace {

static_assert(sizeof(CObject) == sizeof(void*), "nothing but the pointer to the virtual table");
static_assert(std::has_virtual_destructor_v<CObject>);

class Counted : public CObject {
 public:
  explicit Counted(int& destroyed) : m_iDestroyed(destroyed) {}
  ~Counted() override { ++m_iDestroyed; }

 private:
  int& m_iDestroyed;
};

TEST(Object, IsDestroyedThroughItsBase) {
  int destroyed = 0;
  std::unique_ptr<CObject> object = std::make_unique<Counted>(destroyed);
  object.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST(Object, HasNoVirtualOperationButItsDestructors) { EXPECT_EQ(vtable::SlotCount<CObject>(), 2); }

// The first slot destroys an object and leaves its memory, the second also gives the memory back.
TEST(Object, DestructorSlotsAreCompleteThenDeleting) {
  int destroyed = 0;
  alignas(Counted) unsigned char memory[sizeof(Counted)];
  CObject* placed = new (memory) Counted(destroyed);
  using Slot = void (*)(CObject*);
  Slot* table = nullptr;
  std::memcpy(&table, static_cast<void*>(placed), sizeof(table));
  table[0](placed);
  EXPECT_EQ(destroyed, 1);

  CObject* onHeap = new Counted(destroyed);
  std::memcpy(&table, static_cast<void*>(onHeap), sizeof(table));
  table[1](onHeap);
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
