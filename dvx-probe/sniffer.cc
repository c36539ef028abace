// What reaches the interfaces, before a firewall sees it.
#include "dvx-probe/sniffer.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <netinet/if_ether.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <cstring>

#include "snmp/udp/transport.h"

namespace {

constexpr int kReceiveBuffer = 4 << 20;
constexpr size_t kFirstBytes = 128;  // headers are all that is looked at
constexpr size_t kUdpHeaderSize = 8;

// Passes first fragments of UDP datagrams from the SNMP port; packets begin with the IPv4 header.
void PassAnswersOnly(int fd) {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 6),
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 6),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, 0x1FFF, 4, 0),
      BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),
      BPF_STMT(BPF_LD | BPF_H | BPF_IND, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kSnmpPort, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, kFirstBytes),
      BPF_STMT(BPF_RET | BPF_K, 0),
  };
  const sock_fprog filter{sizeof(program) / sizeof(program[0]), program};
  setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof(filter));
}

}  // namespace

CSniffer::CSniffer() : m_Socket(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, htons(ETH_P_IP))) {
  if (!IsOpen()) return;
  PassAnswersOnly(m_Socket.Get());
  setsockopt(m_Socket.Get(), SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof(kReceiveBuffer));
}

std::vector<SeenAnswer> CSniffer::Take() const {
  std::vector<SeenAnswer> seen;
  uint8_t packet[kFirstBytes];
  sockaddr_ll link{};
  for (;;) {
    socklen_t size = sizeof(link);
    const ssize_t received = recvfrom(m_Socket.Get(), packet, sizeof(packet), MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr*>(&link), &size);
    if (received < 0) return seen;
    const size_t header = size_t{packet[0] & 0xFU} * 4;
    const bool whole = static_cast<size_t>(received) >= header + kUdpHeaderSize;
    if (!whole || packet[9] != IPPROTO_UDP || link.sll_pkttype == PACKET_OUTGOING) continue;
    SeenAnswer answer{{}, 0, link.sll_ifindex};
    memcpy(&answer.from, packet + 12, sizeof(answer.from));
    answer.port = static_cast<uint16_t>(packet[header + 2] << 8 | packet[header + 3]);
    seen.push_back(answer);
  }
}
