// Tests of the word-keyed maps. What both maps do is tested on both.
#include "collections/word_map.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "collections/map_word_to_ob.h"
#include "collections/map_word_to_ptr.h"
#include "tests/support/record_layout.h"
#include "tests/support/vtable_slot.h"

namespace {

// Opens a map's fields and internal operations to the tests.
template <typename Map>
class OpenedMap : public Map {
 public:
  using typename Map::CAssoc;
  explicit OpenedMap(int nBlockSize = 10) : Map(nBlockSize) {}
  using Map::FreeAssoc;
  using Map::GetAssocAt;
  using Map::HashKey;
  using Map::m_nBlockSize;
  using Map::m_nCount;
  using Map::m_nHashTableSize;
  using Map::m_pBlocks;
  using Map::m_pFreeList;
  using Map::m_pHashTable;
  using Map::NewAssoc;
};

template <typename Map>
class WordMapTest : public testing::Test {
 protected:
  using Open = OpenedMap<Map>;
  using Value = decltype(Open::CAssoc::value);
  using Key = unsigned short;
  using Entries = std::vector<std::pair<Key, Value>>;

  // A distinct value; nothing reads what it points to.
  static Value At(unsigned int n) { return reinterpret_cast<Value>(&s_cells[n]); }

  static Entries Iterate(const Map& map) {
    Entries entries;
    __POSITION* position = map.GetStartPosition();
    while (position != nullptr) {
      Key key = 0xDEAD;
      Value value = nullptr;
      map.GetNextAssoc(position, key, value);
      entries.emplace_back(key, value);
    }
    return entries;
  }

  static int CountBlocks(const Open& map) {
    int blocks = 0;
    for (const CPlex* block = map.m_pBlocks; block != nullptr; block = block->pNext) ++blocks;
    return blocks;
  }

  static void ExpectNoMemory(const Open& map) {
    EXPECT_EQ(map.m_nCount, 0);
    EXPECT_EQ(map.m_pHashTable, nullptr);
    EXPECT_EQ(map.m_pFreeList, nullptr);
    EXPECT_EQ(map.m_pBlocks, nullptr);
  }

  static CObject s_cells[100];
};

template <typename Map>
CObject WordMapTest<Map>::s_cells[100];

struct MapName {
  template <typename Map>
  static std::string GetName(int) {
    return std::is_same_v<Map, CMapWordToPtr> ? "CMapWordToPtr" : "CMapWordToOb";
  }
};
using Maps = testing::Types<CMapWordToPtr, CMapWordToOb>;
TYPED_TEST_SUITE(WordMapTest, Maps, MapName);

__POSITION* BeforeStart() {
  const std::uintptr_t allOnes = UINTPTR_MAX;
  __POSITION* position;
  std::memcpy(&position, &allOnes, sizeof(allOnes));
  return position;
}

TYPED_TEST(WordMapTest, NewMapIsEmpty) {
  const OpenedMap<TypeParam> map;
  EXPECT_EQ(map.GetCount(), 0);
  EXPECT_EQ(map.GetStartPosition(), nullptr);
  for (unsigned int key = 0; key <= 0xFFFF; ++key) {
    auto value = this->At(5);
    ASSERT_EQ(map.Lookup(static_cast<unsigned short>(key), value), 0);
    ASSERT_EQ(value, this->At(5));
  }
  EXPECT_EQ(map.m_nHashTableSize, 17U);
  this->ExpectNoMemory(map);
}

TYPED_TEST(WordMapTest, BlockSizeOfZeroOrLessIsTen) {
  EXPECT_EQ(OpenedMap<TypeParam>(0).m_nBlockSize, 10);
  EXPECT_EQ(OpenedMap<TypeParam>(-1).m_nBlockSize, 10);
  EXPECT_EQ(OpenedMap<TypeParam>(INT_MIN).m_nBlockSize, 10);
  EXPECT_EQ(OpenedMap<TypeParam>(1).m_nBlockSize, 1);
  EXPECT_EQ(OpenedMap<TypeParam>(3).m_nBlockSize, 3);
}

TYPED_TEST(WordMapTest, EntriesComeInBlocks) {
  OpenedMap<TypeParam> map(0);
  EXPECT_EQ(this->CountBlocks(map), 0);
  for (unsigned short key = 1; key <= 21; ++key) {
    map[key] = this->At(key);
    ASSERT_EQ(this->CountBlocks(map), (key + 9) / 10) << key;
  }
}

TYPED_TEST(WordMapTest, HashIsTheKeyWithoutItsLowFourBits) {
  EXPECT_EQ(OpenedMap<TypeParam>::HashKey(0x0000), 0U);
  EXPECT_EQ(OpenedMap<TypeParam>::HashKey(0x000F), 0U);
  EXPECT_EQ(OpenedMap<TypeParam>::HashKey(0x0010), 1U);
  EXPECT_EQ(OpenedMap<TypeParam>::HashKey(0x001F), 1U);
  EXPECT_EQ(OpenedMap<TypeParam>::HashKey(0xFFFF), 0xFFFU);
}

TYPED_TEST(WordMapTest, KeysWithEqualHighBitsShareABucketNewestFirst) {
  OpenedMap<TypeParam> map;
  map[0x0010] = this->At(1);
  map[0x001F] = this->At(2);
  auto value = this->At(0);
  EXPECT_EQ(map.Lookup(0x0010, value), -1);
  EXPECT_EQ(value, this->At(1));
  EXPECT_EQ(map.Lookup(0x001F, value), -1);
  EXPECT_EQ(value, this->At(2));
  EXPECT_NE(map.m_pHashTable[1], nullptr);
  const typename TestFixture::Entries expected = {{0x001F, this->At(2)}, {0x0010, this->At(1)}};
  EXPECT_EQ(this->Iterate(map), expected);
}

TYPED_TEST(WordMapTest, AllDialogsShareOneBucket) {
  OpenedMap<TypeParam> map;
  for (unsigned short dialog = 100; dialog <= 103; ++dialog) {
    unsigned int bucket = 99;
    unsigned int hash = 99;
    map.GetAssocAt(dialog, bucket, hash);
    EXPECT_EQ(hash, 6U);
    EXPECT_EQ(bucket, 6U);
  }
}

TYPED_TEST(WordMapTest, BucketAndHashAreToldWithoutATable) {
  const OpenedMap<TypeParam> map;
  unsigned int bucket = 99;
  unsigned int hash = 99;
  EXPECT_EQ(map.GetAssocAt(0x0125, bucket, hash), nullptr);
  EXPECT_EQ(hash, 18U);
  EXPECT_EQ(bucket, 1U);
}

TYPED_TEST(WordMapTest, AssociationIsFoundByItsWholeKey) {
  OpenedMap<TypeParam> map;
  map[0x0125] = this->At(3);
  unsigned int bucket = 0;
  unsigned int hash = 0;
  const auto* assoc = map.GetAssocAt(0x0125, bucket, hash);
  ASSERT_NE(assoc, nullptr);
  EXPECT_EQ(assoc->key, 0x0125);
  EXPECT_EQ(assoc->value, this->At(3));
  EXPECT_EQ(map.GetAssocAt(0x0124, bucket, hash), nullptr);
  EXPECT_EQ(map.GetAssocAt(0x0015, bucket, hash), nullptr) << "same bucket, other hash";
  EXPECT_EQ(bucket, 1U);
  EXPECT_EQ(hash, 1U);
}

TYPED_TEST(WordMapTest, LookupDoesNotCreate) {
  OpenedMap<TypeParam> map;
  map[1] = this->At(1);
  auto value = this->At(7);
  EXPECT_EQ(map.Lookup(2, value), 0);
  EXPECT_EQ(value, this->At(7));
  EXPECT_EQ(map.GetCount(), 1);
}

TYPED_TEST(WordMapTest, IndexingCreatesANullValueOnce) {
  OpenedMap<TypeParam> map;
  EXPECT_EQ(map[0xFFFF], nullptr);
  EXPECT_EQ(map.GetCount(), 1);
  map[0xFFFF] = this->At(4);
  EXPECT_EQ(map[0xFFFF], this->At(4));
  EXPECT_EQ(map.GetCount(), 1);
}

TYPED_TEST(WordMapTest, BucketArrayIsMadeAtTheFirstInsertion) {
  OpenedMap<TypeParam> map;
  map.InitHashTable(5, 0);
  EXPECT_EQ(map.m_pHashTable, nullptr);
  map[0x0060] = this->At(1);  // hash 6, bucket 1 of 5
  ASSERT_NE(map.m_pHashTable, nullptr);
  EXPECT_EQ(map.m_nHashTableSize, 5U);
  EXPECT_EQ(map.m_pHashTable[1]->key, 0x0060);
  for (unsigned int bucket : {0, 2, 3, 4}) EXPECT_EQ(map.m_pHashTable[bucket], nullptr);
}

TYPED_TEST(WordMapTest, TableSizeOfZeroIsSeventeen) {
  OpenedMap<TypeParam> map;
  map.InitHashTable(3, 0);
  EXPECT_EQ(map.m_nHashTableSize, 3U);
  map.InitHashTable(0, 0);
  EXPECT_EQ(map.m_nHashTableSize, 17U);
  EXPECT_EQ(map.m_pHashTable, nullptr);
  map.InitHashTable(3, 0);
  map.InitHashTable(0, -1);
  EXPECT_EQ(map.m_nHashTableSize, 17U);
  ASSERT_NE(map.m_pHashTable, nullptr);
  for (unsigned int bucket = 0; bucket < 17; ++bucket) {
    EXPECT_EQ(map.m_pHashTable[bucket], nullptr);
  }
}

TYPED_TEST(WordMapTest, SettingTheTableSizeDropsTheOldTable) {
  OpenedMap<TypeParam> map;
  map.InitHashTable(8, -1);
  EXPECT_NE(map.m_pHashTable, nullptr);
  map.InitHashTable(9, 0);
  EXPECT_EQ(map.m_pHashTable, nullptr);
  EXPECT_EQ(map.m_nHashTableSize, 9U);
}

TYPED_TEST(WordMapTest, FreeListRunsUpThroughABlock) {
  OpenedMap<TypeParam> map(4);
  const auto* first = map.NewAssoc();
  EXPECT_EQ(static_cast<const void*>(first), map.m_pBlocks->data());
  EXPECT_EQ(map.m_pFreeList, first + 1);
  EXPECT_EQ(map.NewAssoc(), first + 1);
  EXPECT_EQ(map.NewAssoc(), first + 2);
  EXPECT_EQ(map.NewAssoc(), first + 3);
  EXPECT_EQ(map.m_pFreeList, nullptr);
  EXPECT_EQ(map.m_nCount, 4);
}

TYPED_TEST(WordMapTest, ReleasedAssociationIsTheNextOneTakenAndIsCleared) {
  OpenedMap<TypeParam> map(4);
  auto* first = map.NewAssoc();
  map.NewAssoc();
  first->key = 77;
  first->value = this->At(1);
  map.FreeAssoc(first);
  EXPECT_EQ(map.m_nCount, 1);
  EXPECT_EQ(map.NewAssoc(), first);
  EXPECT_EQ(first->key, 0);
  EXPECT_EQ(first->value, nullptr);
  EXPECT_EQ(this->CountBlocks(map), 1);
}

TYPED_TEST(WordMapTest, RemovingFromAMapThatNeverHeldAnythingFindsNothing) {
  OpenedMap<TypeParam> map;
  EXPECT_EQ(map.RemoveKey(0), 0);
  EXPECT_EQ(map.RemoveKey(100), 0);
  this->ExpectNoMemory(map);
}

TYPED_TEST(WordMapTest, RemovesFromTheStartMiddleAndEndOfABucket) {
  for (unsigned short removed = 0x10; removed <= 0x12; ++removed) {
    OpenedMap<TypeParam> map;
    typename TestFixture::Entries expected;
    for (unsigned short key = 0x10; key <= 0x12; ++key) {
      map[key] = this->At(key);
      if (key != removed) expected.emplace(expected.begin(), key, this->At(key));
    }
    EXPECT_EQ(map.RemoveKey(removed), -1);
    EXPECT_EQ(map.RemoveKey(removed), 0);
    EXPECT_EQ(map.GetCount(), 2);
    EXPECT_EQ(this->Iterate(map), expected);
  }
}

TYPED_TEST(WordMapTest, RemovingTheLastEntryGivesAllMemoryBack) {
  OpenedMap<TypeParam> map;
  map[100] = this->At(1);
  EXPECT_EQ(map.RemoveKey(100), -1);
  this->ExpectNoMemory(map);
  EXPECT_EQ(map.GetStartPosition(), nullptr);

  map[101] = this->At(2);
  EXPECT_EQ(map.m_nHashTableSize, 17U);
  EXPECT_EQ(map.m_pHashTable[6]->key, 101);
  EXPECT_EQ(this->CountBlocks(map), 1);
  EXPECT_EQ(map.GetCount(), 1);
}

TYPED_TEST(WordMapTest, RemovingAllKeepsTheSizes) {
  OpenedMap<TypeParam> map(3);
  map.InitHashTable(5, -1);
  for (unsigned short key = 0; key < 20; ++key) map[key] = this->At(key);
  map.RemoveAll();
  this->ExpectNoMemory(map);
  EXPECT_EQ(map.m_nHashTableSize, 5U);
  EXPECT_EQ(map.m_nBlockSize, 3);
  auto value = this->At(0);
  EXPECT_EQ(map.Lookup(1, value), 0);
}

TYPED_TEST(WordMapTest, IterationStartsAtTheAllOnesPosition) {
  OpenedMap<TypeParam> map;
  map[1] = this->At(1);
  EXPECT_EQ(map.GetStartPosition(), BeforeStart());
}

TYPED_TEST(WordMapTest, IteratesBucketByBucketNewestFirst) {
  OpenedMap<TypeParam> map;
  // 0x0110 has hash 17 and so shares bucket 0 with 0x0005; 0x0100 is alone in the last bucket.
  for (unsigned short key : {0x0100, 0x0005, 0x0021, 0x0110, 0x0020}) map[key] = this->At(key & 63);
  const typename TestFixture::Entries expected = {{0x0110, this->At(0x10)},
                                                  {0x0005, this->At(0x05)},
                                                  {0x0020, this->At(0x20)},
                                                  {0x0021, this->At(0x21)},
                                                  {0x0100, this->At(0x00)}};
  EXPECT_EQ(this->Iterate(map), expected);
}

TYPED_TEST(WordMapTest, NullPositionChangesNothing) {
  OpenedMap<TypeParam> map;
  map[1] = this->At(1);
  __POSITION* position = nullptr;
  unsigned short key = 0xABCD;
  auto value = this->At(9);
  map.GetNextAssoc(position, key, value);
  EXPECT_EQ(position, nullptr);
  EXPECT_EQ(key, 0xABCD);
  EXPECT_EQ(value, this->At(9));
}

// Setting the table size of a map with entries loses them, but never follows a missing table.
TYPED_TEST(WordMapTest, IterationEndsWhenTheBucketsAreEmptyOrAbsent) {
  for (const short allocNow : {short{0}, short{-1}}) {
    OpenedMap<TypeParam> map;
    map[1] = this->At(1);
    map.InitHashTable(4, allocNow);
    __POSITION* position = map.GetStartPosition();
    EXPECT_EQ(position, BeforeStart()) << "the entry is still counted";
    unsigned short key = 0xABCD;
    auto value = this->At(9);
    map.GetNextAssoc(position, key, value);
    EXPECT_EQ(position, nullptr);
    EXPECT_EQ(key, 0xABCD);
    EXPECT_EQ(value, this->At(9));
  }
}

TYPED_TEST(WordMapTest, IterationUnderWayEndsWhenTheTableGoes) {
  OpenedMap<TypeParam> map;
  map[0x0001] = this->At(1);
  map[0x0020] = this->At(2);
  __POSITION* position = map.GetStartPosition();
  unsigned short key = 0;
  auto value = this->At(0);
  map.GetNextAssoc(position, key, value);
  map.InitHashTable(4, 0);
  map.GetNextAssoc(position, key, value);
  EXPECT_EQ(key, 0x0020);
  EXPECT_EQ(value, this->At(2));
  EXPECT_EQ(position, nullptr);
}

TYPED_TEST(WordMapTest, BehavesAsAMapOverManyInsertionsAndRemovals) {
  OpenedMap<TypeParam> map(7);
  std::map<unsigned short, typename TestFixture::Value> model;
  std::mt19937 random(20240917);
  for (int step = 0; step < 20000; ++step) {
    const auto key = static_cast<unsigned short>(random() % 700 * 31);
    // Stretches with more removals than insertions let the map run empty now and then.
    if (random() % 100 < (step / 2000 % 2 == 0 ? 70U : 20U)) {
      model[key] = map[key] = this->At(random() % 100);
    } else {
      ASSERT_EQ(map.RemoveKey(key), model.erase(key) == 1 ? -1 : 0);
    }
    ASSERT_EQ(map.GetCount(), static_cast<int>(model.size()));
  }
  const auto entries = this->Iterate(map);
  const std::map<unsigned short, typename TestFixture::Value> seen(entries.begin(), entries.end());
  EXPECT_EQ(entries.size(), model.size());
  EXPECT_EQ(seen, model);
}

TYPED_TEST(WordMapTest, FieldsFollowTheVirtualTableInOrder) {
  OpenedMap<TypeParam> map;
  const auto* start = reinterpret_cast<const char*>(static_cast<const TypeParam*>(&map));
  const auto offset = [start](const auto& field) {
    return reinterpret_cast<const char*>(&field) - start;
  };
  EXPECT_EQ(reinterpret_cast<const char*>(static_cast<const CObject*>(&map)), start);
  constexpr int kPointer = sizeof(void*);
  EXPECT_EQ(offset(map.m_pHashTable), kPointer);
  EXPECT_EQ(offset(map.m_nHashTableSize), 2 * kPointer);
  EXPECT_EQ(offset(map.m_nCount), 2 * kPointer + 4);
  EXPECT_EQ(offset(map.m_pFreeList), 2 * kPointer + 8);
  EXPECT_EQ(offset(map.m_pBlocks), 3 * kPointer + 8);
  EXPECT_EQ(offset(map.m_nBlockSize), 4 * kPointer + 8);
  EXPECT_EQ(sizeof(TypeParam), NextPlaceFor<void*>(4 * kPointer + 12));

  using Assoc = typename OpenedMap<TypeParam>::CAssoc;
  static_assert(std::is_standard_layout_v<Assoc>);
  EXPECT_EQ(offsetof(Assoc, pNext), 0U);
  EXPECT_EQ(offsetof(Assoc, value), sizeof(void*));
  EXPECT_EQ(offsetof(Assoc, key), 2 * sizeof(void*));
  EXPECT_EQ(sizeof(Assoc), 3 * sizeof(void*));
}

TYPED_TEST(WordMapTest, HasNoVirtualOperationButItsDestructors) {
  EXPECT_EQ(vtable::SlotCount<TypeParam>(), 2);
}

TEST(MapWordToOb, DoesNotOwnItsObjects) {
  class Counted : public CObject {
   public:
    explicit Counted(int& destroyed) : m_iDestroyed(destroyed) {}
    ~Counted() override { ++m_iDestroyed; }

   private:
    int& m_iDestroyed;
  };
  int destroyed = 0;
  Counted one(destroyed);
  Counted two(destroyed);
  {
    CMapWordToOb map(10);
    map[1] = &one;
    map[2] = &two;
    map.RemoveKey(1);
    map.RemoveAll();
    map[2] = &two;
  }
  EXPECT_EQ(destroyed, 0);
}

}  // namespace
