// Registers this computer on scanners, one after the other as Apply does, and writes what it cost
// as a line of JSON.
#include <cstdio>
#include <string>
#include <vector>

#include "bench/addresses.h"
#include "bench/arguments.h"
#include "bench/peak_memory.h"
#include "bench/stop_watch.h"
#include "devreg/client_registration.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    fputs("Usage: bench_registration SCANNERS\n", stderr);
    return 2;
  }
  const int scanners = NumberArgument("bench_registration", argv[1], kMostScanners);
  std::vector<std::string> addresses;
  addresses.reserve(kMostScanners);
  for (int i = 0; i < scanners; ++i) addresses.push_back(ScannerAddressText(i));
  const StopWatch watch;
  for (const std::string& address : addresses) registerOneNetDevice(address.c_str(), "lab-desk");
  printf("{\"all\": %.9f, \"processor\": %.9f, \"peak_kib\": %ld}\n", watch.Elapsed(),
         watch.Processor(), peak_memory("self"));
  return 0;
}
