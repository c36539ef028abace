// Registration of this computer on a scanner.
#include "devreg/client_registration.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "app/log/debug_log.h"
#include "base/descriptor.h"
#include "devreg/converse.h"

// The lines about interfaces carry the name of the function that is asked for them.
#define GET_IP_MAC_HERE "get_ip_mac", __LINE__

namespace {

constexpr unsigned char kCategory = 0x31;
constexpr int kRecordSize = sizeof(CLIENTREGPARAM);
constexpr int kMaxInterfaces = 16;
constexpr size_t kMacSize = sizeof(CLIENTREGPARAM::mac);

// Asks one thing about the interface of that name.
bool Query(int fd, unsigned long what, const char* name, ifreq* answer) {
  *answer = {};
  memcpy(answer->ifr_name, name, sizeof(answer->ifr_name));
  return ioctl(fd, what, answer) == 0;
}

void ReportDevice(const char* name) {
  char text[64];
  snprintf(text, sizeof(text), "cpm: ioctl device %.*s", IFNAMSIZ, name);
  perror(text);
}

bool CanRegister(const char* name) { return strncmp(name, "lo", 2) != 0; }

// Logs the state of the interface and returns whether it is promiscuous. A query that fails is not
// reported and reads as "down".
bool LogState(int fd, const char* name) {
  ifreq answer;
  const int flags = Query(fd, SIOCGIFFLAGS, name, &answer) ? answer.ifr_flags : 0;
  const bool promiscuous = (flags & IFF_PROMISC) != 0;
  if (promiscuous) myDbgFunc(DBG_PREFIX "the interface is PROMISC\n", GET_IP_MAC_HERE);
  if ((flags & IFF_UP) != 0) {
    myDbgFunc(DBG_PREFIX "the interface status is UP\n", GET_IP_MAC_HERE);
  } else {
    myDbgFunc(DBG_PREFIX "the interface status is DOWN\n", GET_IP_MAC_HERE);
  }
  return promiscuous;
}

void TakeAddress(int fd, const char* name, in_addr* address) {
  ifreq answer;
  if (!Query(fd, SIOCGIFADDR, name, &answer)) {
    ReportDevice(name);
    return;
  }
  sockaddr_in found{};
  memcpy(&found, &answer.ifr_addr, sizeof(found));
  myDbgFunc(DBG_PREFIX "IP address is: %s\n", GET_IP_MAC_HERE, inet_ntoa(found.sin_addr));
  if (CanRegister(name)) *address = found.sin_addr;
}

void TakeHardwareAddress(int fd, const char* name, unsigned char* mac) {
  ifreq answer;
  if (!Query(fd, SIOCGIFHWADDR, name, &answer)) {
    ReportDevice(name);
    return;
  }
  unsigned char found[kMacSize];
  memcpy(found, answer.ifr_hwaddr.sa_data, kMacSize);
  myDbgFunc(DBG_PREFIX "HW address is: %02x:%02x:%02x:%02x:%02x:%02x\n", GET_IP_MAC_HERE, found[0],
            found[1], found[2], found[3], found[4], found[5]);
  if (CanRegister(name)) memcpy(mac, found, kMacSize);
}

sockaddr_in DeviceAt(const char* ip) {
  sockaddr_in device{};
  device.sin_family = AF_INET;
  device.sin_addr.s_addr = inet_addr(ip);
  return device;
}

}  // namespace

CLIENTREGPARAM ThisComputer(sockaddr_in* device, const char* hostName) {
  CLIENTREGPARAM param;
  BuildClientRegParam(&param, device);
  memcpy(param.szHostName, hostName, strnlen(hostName, sizeof(param.szHostName) - 1));
  return param;
}

UDPCOMMAND RegistrationCommand(unsigned char command, CLIENTREGPARAM* param) {
  return {command, kCategory, kRecordSize, 0, reinterpret_cast<unsigned char*>(param)};
}

int get_ip_mac(in_addr* address, unsigned char* mac) {
  const Descriptor fd(socket(AF_INET, SOCK_DGRAM, 0));
  if (fd.Get() < 0) {
    perror("cpm: socket");
    return 0;
  }
  ifreq interfaces[kMaxInterfaces];
  ifconf list{};
  list.ifc_len = sizeof(interfaces);
  list.ifc_req = interfaces;
  if (ioctl(fd.Get(), SIOCGIFCONF, &list) != 0) {
    perror("cpm: ioctl");
    return 0;
  }
  const int listed = list.ifc_len / static_cast<int>(sizeof(ifreq));
  const int count = std::min(listed, kMaxInterfaces);
  myDbgFunc(DBG_PREFIX "interface num is intrface=%d\n", DBG_HERE, count);
  int promiscuous = 0;
  // Backwards, each interface replacing the one before: the first of the list stays.
  for (int i = count - 1; i >= 0; --i) {
    const char* name = interfaces[i].ifr_name;
    myDbgFunc(DBG_PREFIX "net device %s\n", DBG_HERE, name);
    if (LogState(fd.Get(), name)) ++promiscuous;
    TakeAddress(fd.Get(), name, address);
    TakeHardwareAddress(fd.Get(), name, mac);
  }
  return promiscuous;
}

int BuildClientRegParam(CLIENTREGPARAM* param, sockaddr_in* /*device*/) {
  *param = {};
  param->fixed0 = 0;
  param->fixed1 = 1;
  get_ip_mac(&param->address, param->mac);
  return 0;
}

int cmd_register(sockaddr_in* device, const char* hostName) {
  // inet_ntoa has one buffer for all, and listing the interfaces uses it too.
  char ip[INET_ADDRSTRLEN];
  inet_ntop(AF_INET, &device->sin_addr, ip, sizeof(ip));
  RegistrationConversation registration(ThisComputer(device, hostName));
  while (!registration.IsOver()) {
    converse(ip, &registration.Command());
    if (registration.Command().Result() != 0) {
      myDbgFunc(DBG_PREFIX "client register command failed\n", DBG_HERE);
    }
    registration.Advance();
  }
  if (registration.Result() == -1) return -1;
  const int code = registration.Command().ReplyCode();
  myDbgFunc(DBG_PREFIX "cmd_register:response.command=0x%x (%s)\n", DBG_HERE, code,
            strerror(errno));
  myDbgFunc(DBG_PREFIX "cmd_register:CMD_CLRG_REG_OK_RES=0x%x (%s)\n", DBG_HERE,
            CMD_CLRG_REG_OK_RES, strerror(errno));
  return registration.Result();
}

void registerOneNetDevice(const char* ip, const char* hostName) {
  myDbgFunc(DBG_PREFIX "registerOneNetDevice ip=(%s)\n", DBG_HERE, ip);
  sockaddr_in device = DeviceAt(ip);
  cmd_register(&device, hostName);
}

int unregisterOnDevice(const char* ip, const char* hostName) {
  sockaddr_in device = DeviceAt(ip);
  CLIENTREGPARAM param = ThisComputer(&device, hostName);
  UDPCOMMAND request = RegistrationCommand(CMD_CLRG_UNREG, &param);
  return UdpCommandSend(ip, 0, &request) == 0 ? 0 : -1;
}
