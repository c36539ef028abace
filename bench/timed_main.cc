// Times every operation and counts what it takes from the heap. The options are those of Google
// Benchmark; --benchmark_format=json makes it readable for programs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "bench/heap_counter.h"
#include "bench/messages.h"
#include "bench/operations.h"

namespace {

void Time(benchmark::State& state, const Work& work) {
  work.Prepare();
  work.Run();
  const HeapUse before = TakenFromHeap();
  work.Run();
  const HeapUse after = TakenFromHeap();
  for ([[maybe_unused]] auto again : state) work.Run();
  state.counters["blocks"] = static_cast<double>(after.blocks - before.blocks);
  state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes);
}

// For other tools to work on the same bytes.
int ShowMessages() {
  printf("request %s\n", Hex(DiscoveryRequest()).c_str());
  printf("short %s\n", Hex(ModelAnswer()).c_str());
  printf("longest %s\n", Hex(LongestAnswer()).c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "--messages") == 0) return ShowMessages();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  const std::vector<Operation> operations = AllOperations();
  for (const Work& work : AllWork(operations)) {
    benchmark::RegisterBenchmark(work.name.c_str(), Time, work);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
