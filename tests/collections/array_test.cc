// Tests of the growable arrays. What all three do is tested on all three.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "collections/dword_array.h"
#include "collections/ob_array.h"
#include "collections/word_array.h"
#include "tests/collections/thrown_text.h"
#include "tests/support/record_layout.h"
#include "tests/support/vtable_slot.h"

namespace {

// What CWordArray asks calloc for, and whether it gets it.
struct CallocUse {
  std::size_t count = 0;
  std::size_t size = 0;
  bool refuse = false;
} g_calloc;

}  // namespace

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
  g_calloc.count = count;
  g_calloc.size = size;
  return g_calloc.refuse ? nullptr : __real_calloc(count, size);
}
}

namespace {

const char kInvalidArg[] = "Invalid Arg!";

// Opens an array's fields to the tests.
template <typename Array>
class OpenedArray : public Array {
 public:
  using Array::m_nGrowBy;
  using Array::m_nMaxSize;
  using Array::m_nSize;
  using Array::m_pData;
};

CObject g_objects[64];

// The element that stands for a number in an array; 0 stands for the zero element.
template <typename Array>
auto El(unsigned int n) {
  return static_cast<decltype(std::declval<Array>().GetAt(0))>(n);
}
template <>
auto El<CObArray>(unsigned int n) {
  return n == 0 ? static_cast<CObject*>(nullptr) : &g_objects[n];
}

template <typename Array>
class ArrayTest : public testing::Test {
 protected:
  using Numbers = std::vector<unsigned int>;

  static void Fill(Array& array, const Numbers& numbers) {
    array.SetSize(static_cast<int>(numbers.size()), -1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      array.SetAt(static_cast<int>(i), El<Array>(numbers[i]));
    }
  }

  static void ExpectElements(const Array& array, const Numbers& numbers) {
    ASSERT_EQ(array.GetSize(), static_cast<int>(numbers.size()));
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      EXPECT_EQ(array.GetAt(static_cast<int>(i)), El<Array>(numbers[i])) << "element " << i;
    }
  }

  // The largest step at which an array of this size grows by itself.
  static int StepAt(int size) {
    OpenedArray<Array> array;
    array.SetSize(size, 0);
    array.SetSize(size + 1, -1);
    return array.m_nMaxSize - size;
  }
};

struct ArrayName {
  template <typename Array>
  static std::string GetName(int) {
    if (std::is_same_v<Array, CObArray>) return "CObArray";
    return std::is_same_v<Array, CWordArray> ? "CWordArray" : "CDWordArray";
  }
};
using Arrays = testing::Types<CWordArray, CDWordArray, CObArray>;
TYPED_TEST_SUITE(ArrayTest, Arrays, ArrayName);

TYPED_TEST(ArrayTest, NewArrayHasNoStorage) {
  const OpenedArray<TypeParam> array;
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.m_pData, nullptr);
  EXPECT_EQ(array.m_nMaxSize, 0);
  EXPECT_EQ(array.m_nGrowBy, 0);
}

TYPED_TEST(ArrayTest, FirstStorageIsExactAndZero) {
  OpenedArray<TypeParam> array;
  array.SetSize(7, 100);
  EXPECT_EQ(array.m_nMaxSize, 7);
  EXPECT_EQ(array.m_nGrowBy, 100);
  this->ExpectElements(array, {0, 0, 0, 0, 0, 0, 0});
}

TYPED_TEST(ArrayTest, StepDependsOnTheSize) {
  EXPECT_EQ(this->StepAt(1), 4);
  EXPECT_EQ(this->StepAt(10), 4);
  EXPECT_EQ(this->StepAt(31), 4);
  EXPECT_EQ(this->StepAt(32), 4);
  EXPECT_EQ(this->StepAt(39), 4);
  EXPECT_EQ(this->StepAt(40), 5);
  EXPECT_EQ(this->StepAt(8191), 1023);
  EXPECT_EQ(this->StepAt(8192), 1024);
  EXPECT_EQ(this->StepAt(8199), 1024);
  EXPECT_EQ(this->StepAt(8200), 1024);
  EXPECT_EQ(this->StepAt(10000), 1024);
}

TYPED_TEST(ArrayTest, StepDependsOnTheSizeNotOnTheStorage) {
  OpenedArray<TypeParam> array;
  array.SetSize(100, -1);
  array.SetSize(4, -1);
  array.SetSize(101, -1);
  EXPECT_EQ(array.m_nMaxSize, 104);

  OpenedArray<TypeParam> small;
  small.SetSize(10, -1);
  small.SetSize(4, -1);
  small.SetSize(11, -1);
  EXPECT_EQ(small.m_nMaxSize, 14);
}

TYPED_TEST(ArrayTest, AddingOneAtATimeGrowsInFours) {
  OpenedArray<TypeParam> array;
  std::vector<int> maxSizes;
  for (int i = 0; i < 14; ++i) {
    array.SetAtGrow(i, El<TypeParam>(1));
    maxSizes.push_back(array.m_nMaxSize);
  }
  EXPECT_EQ(maxSizes, (std::vector<int>{1, 5, 5, 5, 5, 9, 9, 9, 9, 13, 13, 13, 13, 17}));
}

TYPED_TEST(ArrayTest, GrowsToTheSizeAskedForWhenTheStepIsLess) {
  OpenedArray<TypeParam> array;
  array.SetSize(2, -1);
  array.SetSize(50, -1);
  EXPECT_EQ(array.m_nMaxSize, 50);
}

TYPED_TEST(ArrayTest, GrowByIsKeptUnlessGiven) {
  OpenedArray<TypeParam> array;
  array.SetSize(1, 20);
  array.SetSize(2, -1);
  EXPECT_EQ(array.m_nMaxSize, 21);
  array.SetSize(22, 3);
  EXPECT_EQ(array.m_nMaxSize, 24);
  array.SetSize(25, 0);
  EXPECT_EQ(array.m_nMaxSize, 28);
  EXPECT_EQ(array.m_nGrowBy, 0);
}

TYPED_TEST(ArrayTest, GrowingKeepsTheElementsAndZeroesTheRest) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.SetSize(6, -1);
  this->ExpectElements(array, {1, 2, 3, 0, 0, 0});
}

TYPED_TEST(ArrayTest, ShrinkingKeepsTheStorageAndGrowingAgainZeroes) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3, 4});
  const auto* data = array.m_pData;
  array.SetSize(1, -1);
  EXPECT_EQ(array.m_nMaxSize, 4);
  array.SetSize(4, -1);
  EXPECT_EQ(array.m_pData, data);
  this->ExpectElements(array, {1, 0, 0, 0});
}

TYPED_TEST(ArrayTest, SizeZeroReleasesTheStorage) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.SetSize(0, -1);
  EXPECT_EQ(array.m_pData, nullptr);
  EXPECT_EQ(array.m_nMaxSize, 0);
  array.SetAtGrow(3, El<TypeParam>(9));
  this->ExpectElements(array, {0, 0, 0, 9});
  EXPECT_EQ(array.m_nMaxSize, 4);
}

TYPED_TEST(ArrayTest, RemovingAllKeepsGrowBy) {
  OpenedArray<TypeParam> array;
  array.SetSize(5, 9);
  array.RemoveAll();
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.m_pData, nullptr);
  EXPECT_EQ(array.m_nMaxSize, 0);
  EXPECT_EQ(array.m_nGrowBy, 9);
}

TYPED_TEST(ArrayTest, ReadingAndReplacingOutsideTheArrayThrows) {
  OpenedArray<TypeParam> array;
  EXPECT_EQ(ThrownText([&] { array.GetAt(0); }), kInvalidArg);
  this->Fill(array, {1, 2});
  array.SetSize(1, -1);
  for (int index : {-1, 1, 2, INT_MAX, INT_MIN}) {
    EXPECT_EQ(ThrownText([&] { array.GetAt(index); }), kInvalidArg);
    EXPECT_EQ(ThrownText([&] { array.SetAt(index, El<TypeParam>(5)); }), kInvalidArg);
  }
  array.SetAt(0, El<TypeParam>(6));
  this->ExpectElements(array, {6});
}

TYPED_TEST(ArrayTest, SetAtGrowReplacesWithinTheArray) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.SetAtGrow(1, El<TypeParam>(8));
  this->ExpectElements(array, {1, 8, 3});
  array.SetAtGrow(3, El<TypeParam>(9));
  this->ExpectElements(array, {1, 8, 3, 9});
}

TYPED_TEST(ArrayTest, InsertsWithinAtTheEndAndBeyond) {
  OpenedArray<TypeParam> array;
  array.InsertAt(0, El<TypeParam>(1), 1);
  array.InsertAt(1, El<TypeParam>(4), 1);
  array.InsertAt(1, El<TypeParam>(2), 2);
  this->ExpectElements(array, {1, 2, 2, 4});
  array.InsertAt(0, El<TypeParam>(7), 1);
  this->ExpectElements(array, {7, 1, 2, 2, 4});
  array.InsertAt(7, El<TypeParam>(5), 2);
  this->ExpectElements(array, {7, 1, 2, 2, 4, 0, 0, 5, 5});
}

TYPED_TEST(ArrayTest, InsertsAnotherArray) {
  OpenedArray<TypeParam> array;
  OpenedArray<TypeParam> other;
  this->Fill(array, {1, 2});
  this->Fill(other, {7, 8, 9});
  array.InsertAt(1, &other);
  this->ExpectElements(array, {1, 7, 8, 9, 2});
  array.InsertAt(6, &other);
  this->ExpectElements(array, {1, 7, 8, 9, 2, 0, 7, 8, 9});
  this->ExpectElements(other, {7, 8, 9});
}

TYPED_TEST(ArrayTest, InsertingAnEmptyArrayChangesNothing) {
  OpenedArray<TypeParam> array;
  OpenedArray<TypeParam> empty;
  this->Fill(array, {1, 2});
  array.InsertAt(1, &empty);
  array.InsertAt(9, &empty);
  this->ExpectElements(array, {1, 2});
}

TYPED_TEST(ArrayTest, InsertedIntoItselfItsOldContentsComeOnce) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.InsertAt(1, &array);
  this->ExpectElements(array, {1, 1, 2, 3, 2, 3});
}

TYPED_TEST(ArrayTest, RemovesARangeAndKeepsTheStorage) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3, 4, 5});
  array.RemoveAt(1, 2);
  this->ExpectElements(array, {1, 4, 5});
  array.RemoveAt(1, 2);
  this->ExpectElements(array, {1});
  array.RemoveAt(0, 0);
  this->ExpectElements(array, {1});
  array.RemoveAt(0, 1);
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_NE(array.m_pData, nullptr);
  EXPECT_EQ(array.m_nMaxSize, 5);
}

TYPED_TEST(ArrayTest, FreeExtraGivesUnusedStorageBack) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  const auto* full = array.m_pData;
  array.FreeExtra();
  EXPECT_TRUE(array.m_pData == full) << "nothing is unused";
  array.SetSize(2, -1);
  array.FreeExtra();
  EXPECT_EQ(array.m_nMaxSize, 2);
  this->ExpectElements(array, {1, 2});
  array.RemoveAt(0, 2);
  array.FreeExtra();
  EXPECT_EQ(array.m_pData, nullptr);
  EXPECT_EQ(array.m_nMaxSize, 0);
}

TYPED_TEST(ArrayTest, AppendTellsWhereTheNewElementsBegin) {
  OpenedArray<TypeParam> array;
  OpenedArray<TypeParam> other;
  this->Fill(other, {7, 8});
  EXPECT_EQ(array.Append(other), 0);
  EXPECT_EQ(array.Append(other), 2);
  this->ExpectElements(array, {7, 8, 7, 8});
  EXPECT_EQ(array.Append(OpenedArray<TypeParam>()), 4);
  this->ExpectElements(array, {7, 8, 7, 8});
}

TYPED_TEST(ArrayTest, CopyTakesAllElementsAndKeepsGrowBy) {
  OpenedArray<TypeParam> array;
  OpenedArray<TypeParam> other;
  array.SetSize(1, 6);
  this->Fill(other, {7, 8, 9});
  array.Copy(other);
  this->ExpectElements(array, {7, 8, 9});
  EXPECT_EQ(array.m_nGrowBy, 6);
  EXPECT_NE(array.m_pData, other.m_pData);
  this->ExpectElements(other, {7, 8, 9});
}

TYPED_TEST(ArrayTest, CopyOfItselfDoesNothing) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.SetSize(2, -1);
  const auto* data = array.m_pData;
  array.Copy(array);
  this->ExpectElements(array, {1, 2});
  EXPECT_EQ(array.m_pData, data);
  EXPECT_EQ(array.m_nMaxSize, 3);
}

TYPED_TEST(ArrayTest, CopyOfItselfWithoutElementsKeepsTheStorage) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.RemoveAt(0, 3);
  array.Copy(array);
  EXPECT_EQ(array.m_nMaxSize, 3);
  EXPECT_NE(array.m_pData, nullptr);
}

TYPED_TEST(ArrayTest, CopyOfAnEmptyArrayReleasesTheStorage) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.Copy(OpenedArray<TypeParam>());
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.m_pData, nullptr);
}

TYPED_TEST(ArrayTest, FieldsFollowTheVirtualTableInOrder) {
  const OpenedArray<TypeParam> array;
  const auto* start = reinterpret_cast<const char*>(static_cast<const TypeParam*>(&array));
  const auto offset = [start](const auto& field) {
    return reinterpret_cast<const char*>(&field) - start;
  };
  EXPECT_EQ(reinterpret_cast<const char*>(static_cast<const CObject*>(&array)), start);
  constexpr int kPointer = sizeof(void*);
  EXPECT_EQ(offset(array.m_pData), kPointer);
  EXPECT_EQ(offset(array.m_nSize), 2 * kPointer);
  EXPECT_EQ(offset(array.m_nMaxSize), 2 * kPointer + 4);
  EXPECT_EQ(offset(array.m_nGrowBy), 2 * kPointer + 8);
  EXPECT_EQ(sizeof(TypeParam), NextPlaceFor<void*>(2 * kPointer + 12));
}

TYPED_TEST(ArrayTest, HasNoVirtualOperationButItsDestructors) {
  EXPECT_EQ(vtable::SlotCount<TypeParam>(), 2);
}

TEST(WordArray, ElementsAre16Bits) {
  CWordArray array;
  array.SetAtGrow(0, 0xFFFF);
  EXPECT_EQ(array.GetAt(0), 0xFFFF);
  static_assert(std::is_same_v<decltype(array.GetAt(0)), unsigned short>);
}

TEST(WordArray, StorageIsZeroFilledByCalloc) {
  CWordArray array;
  array.SetSize(12, -1);
  EXPECT_EQ(g_calloc.count, 12U);
  EXPECT_EQ(g_calloc.size, 2U);
}

TEST(WordArray, LackOfMemoryLeavesTheElements) {
  CWordArray array;
  array.SetAtGrow(0, 5);
  g_calloc.refuse = true;
  EXPECT_THROW(array.SetSize(100, -1), std::bad_alloc);
  g_calloc.refuse = false;
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array.GetAt(0), 5);
}

TEST(WordArray, RemovalBeyondTheEndThrows) {
  CWordArray array;
  array.SetSize(4, -1);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(2, 3); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(5, 0); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(-1, 1); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(1, -1); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(1, INT_MAX); }), kInvalidArg);
  EXPECT_EQ(array.GetSize(), 4);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(4, 0); }), "nothing");
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(2, 2); }), "nothing");
  EXPECT_EQ(array.GetSize(), 2);
}

TEST(WordArray, InsertingNoArrayOrBeforeTheStartThrows) {
  CWordArray array;
  CWordArray other;
  EXPECT_EQ(ThrownText([&] { array.InsertAt(0, nullptr); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.InsertAt(-1, &other); }), kInvalidArg);
  EXPECT_EQ(array.GetSize(), 0);
}

TEST(WordArray, InsertingNothingMayGrowToTheIndex) {
  CWordArray array;
  array.SetAtGrow(0, 5);
  array.InsertAt(0, 9, 0);
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array.GetAt(0), 5);
  array.InsertAt(3, 9, 0);
  EXPECT_EQ(array.GetSize(), 3);
  EXPECT_EQ(array.GetAt(2), 0);
}

TEST(DWordArray, ElementsAre32Bits) {
  CDWordArray array;
  array.SetAtGrow(0, 0xFFFFFFFF);
  EXPECT_EQ(array.GetAt(0), 0xFFFFFFFF);
  static_assert(std::is_same_v<decltype(array.GetAt(0)), unsigned int>);
}

TEST(DWordArray, RemovalBeyondTheEndIsNotChecked) {
  CDWordArray array;
  for (int i = 0; i < 4; ++i) array.SetAtGrow(i, static_cast<unsigned int>(i + 1));
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(2, 3); }), "nothing");
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array.GetAt(0), 1U);
  EXPECT_EQ(ThrownText([&] { array.RemoveAt(0, 100); }), "nothing");
  EXPECT_EQ(array.GetSize(), 0);
}

TEST(DWordArray, RemovalBeyondTheEndTakesItsCountOffTheSize) {
  CDWordArray array;
  for (int i = 0; i < 6; ++i) array.SetAtGrow(i, static_cast<unsigned int>(i + 1));
  array.RemoveAt(10, 2);  // wholly beyond it
  EXPECT_EQ(array.GetSize(), 4);
  array.RemoveAt(3, 2);  // by one
  ASSERT_EQ(array.GetSize(), 2);
  EXPECT_EQ(array.GetAt(0), 1U);
  EXPECT_EQ(array.GetAt(1), 2U);
  array.RemoveAt(1, INT_MAX);
  EXPECT_EQ(array.GetSize(), 0);
  array.SetSize(3, -1);
  EXPECT_EQ(array.GetAt(0), 0U) << "elements that come back are zero";
}

TEST(DWordArray, InsertingNoArrayIsNotChecked) {
  CDWordArray array;
  EXPECT_EQ(ThrownText([&] { array.InsertAt(0, nullptr); }), "nothing");
  EXPECT_EQ(array.GetSize(), 0);
}

// The arrays without checks: what must not be passed changes nothing when it is passed.
template <typename Array>
class UncheckedArrayTest : public ArrayTest<Array> {};
using UncheckedArrays = testing::Types<CWordArray, CDWordArray>;
TYPED_TEST_SUITE(UncheckedArrayTest, UncheckedArrays, ArrayName);

TYPED_TEST(UncheckedArrayTest, AppendedToItselfItsOldContentsComeOnce) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  EXPECT_EQ(array.Append(array), 3);
  this->ExpectElements(array, {1, 2, 3, 1, 2, 3});
}

TYPED_TEST(UncheckedArrayTest, NegativeAndOverlongArgumentsChangeNothing) {
  OpenedArray<TypeParam> array;
  this->Fill(array, {1, 2, 3});
  array.SetSize(-1, 8);
  array.SetAtGrow(-1, El<TypeParam>(9));
  array.SetAtGrow(INT_MAX, El<TypeParam>(9));
  array.InsertAt(-1, El<TypeParam>(9), 1);
  array.InsertAt(1, El<TypeParam>(9), -1);
  array.InsertAt(1, El<TypeParam>(9), INT_MAX);
  array.InsertAt(INT_MAX, El<TypeParam>(9), 1);
  this->ExpectElements(array, {1, 2, 3});
  EXPECT_EQ(array.m_nMaxSize, 3);
  EXPECT_EQ(array.m_nGrowBy, 0);
}

TEST(DWordArray, NegativeRemovalsAndInsertionsOfAnArrayChangeNothing) {
  CDWordArray array;
  array.SetAtGrow(0, 5);
  array.RemoveAt(-1, 1);
  array.RemoveAt(0, -1);
  array.InsertAt(-1, &array);
  array.InsertAt(INT_MAX, &array);
  EXPECT_EQ(array.GetSize(), 1);
  EXPECT_EQ(array.GetAt(0), 5U);
}

TYPED_TEST(UncheckedArrayTest, StepBeyondAnIntIsLeftOut) {
  OpenedArray<TypeParam> array;
  array.SetSize(1, INT_MAX);
  array.SetSize(2, -1);
  EXPECT_EQ(array.m_nMaxSize, 2);
}

TYPED_TEST(UncheckedArrayTest, InsertingNothingIsNotChecked) {
  OpenedArray<TypeParam> array;
  EXPECT_EQ(ThrownText([&] { array.InsertAt(2, El<TypeParam>(9), 0); }), "nothing");
  this->ExpectElements(array, {0, 0});
}

TEST(ObArray, DoesNotOwnItsObjects) {
  class Counted : public CObject {
   public:
    explicit Counted(int& destroyed) : m_iDestroyed(destroyed) {}
    ~Counted() override { ++m_iDestroyed; }

   private:
    int& m_iDestroyed;
  };
  int destroyed = 0;
  Counted object(destroyed);
  {
    CObArray array;
    array.InsertAt(0, &object, 3);
    array.RemoveAt(0, 1);
    array.SetAt(0, nullptr);
    array.RemoveAll();
    array.SetAtGrow(0, &object);
  }
  EXPECT_EQ(destroyed, 0);
}

// Every bad call throws and leaves the array as it was.
TEST(ObArray, BadArgumentsThrowBeforeAnythingIsChanged) {
  OpenedArray<CObArray> array;
  array.SetSize(4, 2);
  array.SetAt(3, &g_objects[1]);
  OpenedArray<CObArray> other;
  other.SetSize(1, -1);
  CObArray empty;
  const std::vector<std::function<void()>> calls = {
      [&] { array.SetSize(-1, 7); },
      [&] { array.SetSize(5, INT_MAX); },
      [&] { array.SetAtGrow(-1, nullptr); },
      [&] { array.SetAtGrow(INT_MAX, nullptr); },
      [&] { array.InsertAt(-1, nullptr, 1); },
      [&] { array.InsertAt(0, nullptr, 0); },
      [&] { array.InsertAt(9, nullptr, 0); },
      [&] { array.InsertAt(0, nullptr, -1); },
      [&] { array.InsertAt(0, nullptr, INT_MAX); },
      [&] { array.InsertAt(INT_MAX, nullptr, 1); },
      [&] { array.InsertAt(0, nullptr); },
      [&] { array.InsertAt(-1, &other); },
      [&] { array.InsertAt(-1, &empty); },
      [&] { array.InsertAt(INT_MAX, &other); },
      [&] { array.RemoveAt(-1, 1); },
      [&] { array.RemoveAt(0, -1); },
      [&] { array.RemoveAt(2, 3); },
      [&] { array.RemoveAt(1, INT_MAX); },
      [&] { array.Append(array); },
  };
  const auto* data = array.m_pData;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(ThrownText(calls[i]), kInvalidArg) << "call " << i;
    EXPECT_EQ(array.m_pData, data);
    EXPECT_EQ(array.m_nSize, 4);
    EXPECT_EQ(array.m_nMaxSize, 4);
    EXPECT_EQ(array.m_nGrowBy, 2);
    EXPECT_EQ(array.GetAt(3), &g_objects[1]);
  }
}

TEST(ObArray, OverflowIsCheckedOnlyWhenTheStorageMustGrow) {
  OpenedArray<CObArray> array;
  array.SetSize(2, INT_MAX);
  EXPECT_EQ(ThrownText([&] { array.SetSize(1, -1); }), "nothing");
  EXPECT_EQ(ThrownText([&] { array.SetSize(2, -1); }), "nothing");
  EXPECT_EQ(ThrownText([&] { array.SetSize(3, -1); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.SetSize(3, 0); }), "nothing");
  EXPECT_EQ(array.m_nMaxSize, 6);
}

TEST(ObArray, EveryGrowthIsChecked) {
  OpenedArray<CObArray> array;
  OpenedArray<CObArray> other;
  array.SetSize(2, INT_MAX);
  other.SetSize(3, -1);
  EXPECT_EQ(ThrownText([&] { array.SetAtGrow(2, nullptr); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.InsertAt(0, nullptr, 1); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.InsertAt(0, &other); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.Append(other); }), kInvalidArg);
  EXPECT_EQ(ThrownText([&] { array.Copy(other); }), kInvalidArg);
  EXPECT_EQ(array.m_nSize, 2);
  EXPECT_EQ(array.m_nMaxSize, 2);
}

}  // namespace
