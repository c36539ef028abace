// Where the simulated scanners of the lab's office are.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdint>
#include <string>

constexpr int kMostScanners = 256;

// 10.77.0.101, from which on the simulator counts.
constexpr uint32_t kFirstScanner = 0x0A4D0065;

// The address of scanner `index`, counted from 0.
inline in_addr ScannerAddress(int index) {
  return {htonl(kFirstScanner + static_cast<uint32_t>(index))};
}

inline std::string ScannerAddressText(int index) {
  char text[INET_ADDRSTRLEN];
  const in_addr address = ScannerAddress(index);
  return inet_ntop(AF_INET, &address, text, sizeof(text));
}
