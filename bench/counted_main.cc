// Does every operation once, for valgrind's callgrind to count its instructions. Each count is
// dumped under the operation's name.
#include <valgrind/callgrind.h>

#include "bench/operations.h"

int main() {
  const std::vector<Operation> operations = AllOperations();
  for (const Work& work : AllWork(operations)) {
    work.Prepare();
    // What is done once only, such as binding a symbol, is over after the first time.
    work.Run();
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    work.Run();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(work.name.c_str());
  }
  return 0;
}
