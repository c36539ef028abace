// Runs one survey of the network and writes what it cost as a line of JSON.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/log/debug_log.h"
#include "base/malloc_ptr.h"
#include "bench/peak_memory.h"
#include "bench/stop_watch.h"
#include "ui/survey/device_survey.h"

namespace {

std::unique_ptr<StopWatch> watch;
double gathered = 0;

// The survey says how many answers it has when it has gathered them all.
void NoteGathering(const char* format, ...) {
  if (strstr(format, "searchMachine num=") != nullptr) gathered = watch->Elapsed();
}

}  // namespace

int main(int argc, char**) {
  if (argc != 1) {
    fputs("bench_survey: takes no arguments\n", stderr);
    return 2;
  }
  myDbgFunc = NoteGathering;
  watch = std::make_unique<StopWatch>();
  int count = 0;
  const MallocPtr<MACHINEINFO> machines(searchMachine(&count, nullptr));
  printf(
      "{\"count\": %d, \"all\": %.9f, \"gathering\": %.9f, \"processor\": %.9f, \"peak_kib\": "
      "%ld}\n",
      count, watch->Elapsed(), gathered, watch->Processor(), peak_memory("self"));
  return 0;
}
