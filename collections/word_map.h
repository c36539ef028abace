// The hash map behind CMapWordToPtr and CMapWordToOb, for either kind of value.
#pragma once

#include "collections/plex.h"

// An iteration position of a map, never defined. Null means that there are no more entries, all
// bits set that the iteration has not begun.
struct __POSITION;

// A chained hash map from an unsigned 16-bit key to a pointer. It resembles std::unordered_map, and
// differs in this:
//  - the values are raw pointers that the map neither owns nor releases;
//  - the hash is the key without its low four bits, and the number of buckets never changes by
//    itself, so that keys close to each other share one bucket and are told apart by its chain;
//  - entries come from blocks and go back to a free list; the blocks and the bucket array are given
//    back only when the last entry is removed;
//  - the iteration order is fixed: buckets in rising order, newest entry of a bucket first.
// InitHashTable with bAllocNow, and operator[] for a key that is missing, throw std::bad_alloc when
// there is no memory; the entries are then as before. Nothing else allocates. Truth values are 0
// and -1. A map is used by one thread at a time.
template <typename Value>
class WordMap {
 public:
  WordMap(const WordMap&) = delete;
  WordMap& operator=(const WordMap&) = delete;

  // Sets the number of buckets, 17 when nHashSize is 0, and drops the present bucket array. The new
  // one is made at once when bAllocNow is not 0, otherwise at the first insertion. Only meant for
  // an empty map: entries that are present can no longer be found, though they stay counted.
  void InitHashTable(unsigned int nHashSize, short bAllocNow);

  // The number of entries.
  int GetCount() const { return m_nCount; }

  // Stores the value of key in rValue and returns -1, or returns 0 and leaves rValue alone.
  int Lookup(unsigned short key, Value& rValue) const;

  // The value of key, which is made with a null value when it is missing. The reference is good
  // until the entry, or the last entry of the map, is removed.
  Value& operator[](unsigned short key);

  // Removes key and returns -1, or returns 0 when it is not there. Removing the last entry gives
  // all memory back, as RemoveAll does.
  int RemoveKey(unsigned short key);

  // Removes every entry and gives back all memory. The number of buckets and the block size stay.
  void RemoveAll();

  // Where an iteration starts: null for an empty map, otherwise all bits set.
  __POSITION* GetStartPosition() const;

  // Stores the key and the value at rPosition and moves rPosition on, to null after the last entry.
  // At a null position, and in a map whose buckets are all empty, rKey and rValue are left alone.
  // An entry must not be removed while a position stands at it.
  void GetNextAssoc(__POSITION*& rPosition, unsigned short& rKey, Value& rValue) const;

 protected:
  struct CAssoc {
    CAssoc* pNext;  // in the same bucket, or in the free list
    Value value;
    unsigned short key;
  };

  // nBlockSize: entries per block, 10 when it is 0 or less.
  explicit WordMap(int nBlockSize);
  ~WordMap() { RemoveAll(); }

  // Takes an association from the free list, which is filled from a new block when it is empty. The
  // association is counted, belongs to no bucket yet, and has a null value and key 0.
  CAssoc* NewAssoc();

  // Puts an association that no bucket holds any more on the free list. Releases everything when it
  // was the last one in use, pAssoc included.
  void FreeAssoc(CAssoc* pAssoc);

  // Finds the association of key, or null, and tells its bucket and hash in either case.
  CAssoc* GetAssocAt(unsigned short key, unsigned int& nHashBucket, unsigned int& nHashValue) const;

  static unsigned int HashKey(unsigned short key) { return static_cast<unsigned int>(key) >> 4; }

  CAssoc** m_pHashTable = nullptr;
  unsigned int m_nHashTableSize;
  int m_nCount = 0;
  CAssoc* m_pFreeList = nullptr;
  CPlex* m_pBlocks = nullptr;
  int m_nBlockSize;

 private:
  CAssoc* FirstFrom(unsigned int nBucket) const;
};

class CObject;
extern template class WordMap<void*>;
extern template class WordMap<CObject*>;
