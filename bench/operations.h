// What the benchmarks measure without a network and a display, one operation at a time.
//
// The same list is timed by one program (bench_timed) and counted in instructions by another
// (bench_counted), so that both speak of the same work.
#pragma once

#include <string>
#include <vector>

struct Operation {
  std::string name;  // "snmp_parse/short"

  // Does the work once; `size` is one of the sizes.
  void (*run)(int size);

  // Makes what `run` needs, which is not measured; may be null.
  void (*prepare)(int size);

  // How much there is to work on, for what grows; empty when it does not.
  std::vector<int> sizes;
};

std::vector<Operation> CodecOperations();
std::vector<Operation> CollectionOperations();
std::vector<Operation> TextOperations();

// All of them.
std::vector<Operation> AllOperations();

// One operation with one size.
struct Work {
  std::string name;  // "map/insert/256" for the size 256
  const Operation* operation;
  int size;

  void Prepare() const;
  void Run() const { operation->run(size); }
};

// All work that the operations make, in their order. They must outlive it.
std::vector<Work> AllWork(const std::vector<Operation>& operations);

// Keeps the compiler from leaving out the work that led to a value.
template <typename T>
void Keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}
