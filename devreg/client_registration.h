// Registration of this computer on a scanner, which then offers it as a destination for scans.
//
// All functions are called on the GTK main thread and block it until their exchange is over. A
// registration that a silent scanner never answers takes 9 seconds, one that a scanner puts off
// with late replies up to 27. Nothing throws when memory is short.
#pragma once

#include <netinet/in.h>

#include "devreg/udp_command.h"

// Command codes of the channel, see devreg/udp_command.h.
constexpr unsigned char CMD_CLRG_REG = 3;
constexpr unsigned char CMD_CLRG_UNREG = 5;
constexpr unsigned char CMD_CLRG_REG_OK_RES = 0xC4;   // reply: registered
constexpr unsigned char CMD_CLRG_REG_NOT_NOW = 0xD4;  // reply: not now, ask again

// So many exchanges are tried with a scanner that replies "not now".
constexpr int kExchanges = 3;

// What a scanner keeps of a computer: the data of both commands, 28 bytes as they stand on the
// wire.
typedef struct tagCLIENTREGPARAM {
  in_addr address;       // IPv4 address of this computer, network byte order
  char szHostName[16];   // shown on the scanner: at most 15 characters, padded with zeros
  unsigned char mac[6];  // hardware address of this computer
  unsigned char fixed0;  // always 0
  unsigned char fixed1;  // always 1
} CLIENTREGPARAM;

static_assert(sizeof(CLIENTREGPARAM) == 28, "the record is sent as it lies in memory");

// Stores the IPv4 address (network byte order) and the hardware address (6 bytes) of the interface
// under which this computer registers: the first one of the kernel's list, which holds interfaces
// with an IPv4 address only, whose name does not begin with "lo". It may be down, and it need not
// lead to the scanner. What cannot be found out is left as it was. Returns the number of interfaces
// in promiscuous mode, 0 also when the interfaces cannot be listed.
int get_ip_mac(in_addr* address, unsigned char* mac);

// Fills *param for this computer: addresses from get_ip_mac (zeros without a usable interface), the
// name empty. The device is not used. Returns 0.
int BuildClientRegParam(CLIENTREGPARAM* param, sockaddr_in* device);

// The record of this computer under at most 15 bytes of that name. The device is not used.
CLIENTREGPARAM ThisComputer(sockaddr_in* device, const char* hostName);

// The command of that code with a record as its data, which stays the caller's.
UDPCOMMAND RegistrationCommand(unsigned char command, CLIENTREGPARAM* param);

// Registers this computer under the first 15 characters of `hostName` on the scanner at the address
// of `device`; the port is not used. While the scanner replies "not now" it is asked up to three
// times. Returns 0 when it accepted, -1 when no reply came, else the code of its last reply.
int cmd_register(sockaddr_in* device, const char* hostName);

// cmd_register on the scanner with the dotted-decimal address `ip`; the outcome is only logged.
void registerOneNetDevice(const char* ip, const char* hostName);

// Takes this computer off the list of the scanner with the address `ip`. No reply is awaited.
// Returns 0 when the command was handed to the network, else -1.
int unregisterOnDevice(const char* ip, const char* hostName);
