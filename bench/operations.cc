// The list of all operations.
#include "bench/operations.h"

#include <iterator>

std::vector<Operation> AllOperations() {
  std::vector<Operation> all;
  for (auto make : {CodecOperations, CollectionOperations, TextOperations}) {
    const std::vector<Operation> some = make();
    std::copy(some.begin(), some.end(), std::back_inserter(all));
  }
  return all;
}

void Work::Prepare() const {
  if (operation->prepare != nullptr) operation->prepare(size);
}

std::vector<Work> AllWork(const std::vector<Operation>& operations) {
  std::vector<Work> all;
  for (const Operation& operation : operations) {
    if (operation.sizes.empty()) all.push_back({operation.name, &operation, 0});
    for (const int size : operation.sizes) {
      all.push_back({operation.name + "/" + std::to_string(size), &operation, size});
    }
  }
  return all;
}
