// The hash map behind CMapWordToPtr and CMapWordToOb.
#include "collections/word_map.h"

#include <cstdint>
#include <cstring>

#include "collections/object.h"

namespace {

constexpr unsigned int kDefaultHashSize = 17;
constexpr int kDefaultBlockSize = 10;

__POSITION* BeforeStart() {
  const std::uintptr_t allOnes = UINTPTR_MAX;
  __POSITION* position;
  memcpy(&position, &allOnes, sizeof(allOnes));
  return position;
}

}  // namespace

template <typename Value>
WordMap<Value>::WordMap(int nBlockSize)
    : m_nHashTableSize(kDefaultHashSize),
      m_nBlockSize(nBlockSize > 0 ? nBlockSize : kDefaultBlockSize) {}

template <typename Value>
void WordMap<Value>::InitHashTable(unsigned int nHashSize, short bAllocNow) {
  if (nHashSize == 0) nHashSize = kDefaultHashSize;
  delete[] m_pHashTable;
  m_pHashTable = nullptr;
  if (bAllocNow != 0) m_pHashTable = new CAssoc* [nHashSize] {};
  m_nHashTableSize = nHashSize;
}

template <typename Value>
int WordMap<Value>::Lookup(unsigned short key, Value& rValue) const {
  unsigned int bucket = 0;
  unsigned int hash = 0;
  const CAssoc* assoc = GetAssocAt(key, bucket, hash);
  if (assoc == nullptr) return 0;
  rValue = assoc->value;
  return -1;
}

template <typename Value>
Value& WordMap<Value>::operator[](unsigned short key) {
  unsigned int bucket = 0;
  unsigned int hash = 0;
  CAssoc* assoc = GetAssocAt(key, bucket, hash);
  if (assoc != nullptr) return assoc->value;
  if (m_pHashTable == nullptr) InitHashTable(m_nHashTableSize, -1);
  assoc = NewAssoc();
  assoc->key = key;
  assoc->pNext = m_pHashTable[bucket];
  m_pHashTable[bucket] = assoc;
  return assoc->value;
}

template <typename Value>
int WordMap<Value>::RemoveKey(unsigned short key) {
  if (m_pHashTable == nullptr) return 0;
  CAssoc** link = &m_pHashTable[HashKey(key) % m_nHashTableSize];
  for (; *link != nullptr; link = &(*link)->pNext) {
    CAssoc* assoc = *link;
    if (assoc->key != key) continue;
    *link = assoc->pNext;
    FreeAssoc(assoc);
    return -1;
  }
  return 0;
}

template <typename Value>
void WordMap<Value>::RemoveAll() {
  delete[] m_pHashTable;
  m_pHashTable = nullptr;
  m_nCount = 0;
  m_pFreeList = nullptr;
  if (m_pBlocks != nullptr) m_pBlocks->FreeDataChain();
  m_pBlocks = nullptr;
}

template <typename Value>
__POSITION* WordMap<Value>::GetStartPosition() const {
  return m_nCount == 0 ? nullptr : BeforeStart();
}

template <typename Value>
void WordMap<Value>::GetNextAssoc(__POSITION*& rPosition, unsigned short& rKey,
                                  Value& rValue) const {
  const CAssoc* current =
      rPosition == BeforeStart() ? FirstFrom(0) : reinterpret_cast<const CAssoc*>(rPosition);
  if (current == nullptr) {
    rPosition = nullptr;
    return;
  }
  CAssoc* next = current->pNext;
  if (next == nullptr) next = FirstFrom(HashKey(current->key) % m_nHashTableSize + 1);
  rPosition = reinterpret_cast<__POSITION*>(next);
  rKey = current->key;
  rValue = current->value;
}

// The newest entry of the first bucket from nBucket on that holds any, or null.
template <typename Value>
typename WordMap<Value>::CAssoc* WordMap<Value>::FirstFrom(unsigned int nBucket) const {
  if (m_pHashTable == nullptr) return nullptr;
  for (; nBucket < m_nHashTableSize; ++nBucket) {
    if (m_pHashTable[nBucket] != nullptr) return m_pHashTable[nBucket];
  }
  return nullptr;
}

template <typename Value>
typename WordMap<Value>::CAssoc* WordMap<Value>::NewAssoc() {
  if (m_pFreeList == nullptr) {
    const auto count = static_cast<unsigned int>(m_nBlockSize);
    CPlex* block = CPlex::Create(m_pBlocks, count, sizeof(CAssoc));
    auto* assocs = static_cast<CAssoc*>(block->data());
    // From the last to the first, so that the free list hands them out from the first to the last.
    for (unsigned int i = count; i-- > 0;) {
      assocs[i].pNext = m_pFreeList;
      m_pFreeList = &assocs[i];
    }
  }
  CAssoc* assoc = m_pFreeList;
  m_pFreeList = assoc->pNext;
  ++m_nCount;
  assoc->value = nullptr;
  assoc->key = 0;
  return assoc;
}

template <typename Value>
void WordMap<Value>::FreeAssoc(CAssoc* pAssoc) {
  pAssoc->pNext = m_pFreeList;
  m_pFreeList = pAssoc;
  --m_nCount;
  if (m_nCount == 0) RemoveAll();
}

template <typename Value>
typename WordMap<Value>::CAssoc* WordMap<Value>::GetAssocAt(unsigned short key,
                                                            unsigned int& nHashBucket,
                                                            unsigned int& nHashValue) const {
  nHashValue = HashKey(key);
  nHashBucket = nHashValue % m_nHashTableSize;
  if (m_pHashTable == nullptr) return nullptr;
  CAssoc* assoc = m_pHashTable[nHashBucket];
  while (assoc != nullptr && assoc->key != key) assoc = assoc->pNext;
  return assoc;
}

template class WordMap<void*>;
template class WordMap<CObject*>;
