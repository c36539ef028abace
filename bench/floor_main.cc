// The least that the exchanges of a survey and of registrations can cost: the same datagrams to the
// same scanners, without anything else. Writes what they cost as a line of JSON.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/addresses.h"
#include "bench/arguments.h"
#include "bench/messages.h"
#include "bench/stop_watch.h"
#include "snmp/device_query.h"
#include "snmp/request.h"

namespace {

constexpr uint16_t kScannerSnmpPort = 161;
constexpr char kDiscoveryObject[] = "1.3.6.1.4.1.731.405.1.1.1.3";
constexpr uint16_t kCommandPort = 3892;
constexpr int kPatienceSeconds = 3;
constexpr int kQuietSeconds = 1;

constexpr int kMostInterfaces = 16;
constexpr int kMostRounds = 1000;

// What may be on its way at once when nothing is waited for: more overruns the buffers of sockets.
constexpr int kWindow = 64;

[[noreturn]] void Fail(const char* what) {
  fprintf(stderr, "bench_floor: %s\n", what);
  exit(1);
}

class Socket {
 public:
  Socket() : m_iSocket(socket(AF_INET, SOCK_DGRAM, 0)) {
    if (m_iSocket < 0) Fail("no socket");
  }
  ~Socket() { close(m_iSocket); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  void Send(in_addr address, uint16_t port, const Bytes& message) const {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr = address;
    if (sendto(m_iSocket, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&to),
               sizeof(to)) < 0) {
      Fail("a datagram could not be sent");
    }
  }

  void Receive() const {
    unsigned char answer[1536];
    if (recv(m_iSocket, answer, sizeof(answer), 0) < 0) Fail("no answer came");
  }

  int Get() const { return m_iSocket; }

  // Whether there is something to receive before so much time has passed.
  bool ComesWithin(int seconds) const {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(m_iSocket, &readable);
    timeval patience{seconds, 0};
    return select(m_iSocket + 1, &readable, nullptr, nullptr, &patience) == 1;
  }

  // Without it a lost datagram would keep the process for ever.
  void SetPatience() const {
    const timeval patience{kPatienceSeconds, 0};
    setsockopt(m_iSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  }

  void AllowBroadcast() const {
    const int on = 1;
    setsockopt(m_iSocket, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
  }

 private:
  int m_iSocket;
};

// Messages that go to every scanner, one after the other.
struct Exchanges {
  int scanners;
  uint16_t port;
  std::vector<Bytes> messages;

  int Count() const { return scanners * static_cast<int>(messages.size()); }
  void Send(const Socket& socket, int index) const {
    const int each = static_cast<int>(messages.size());
    socket.Send(ScannerAddress(index / each), port, messages[static_cast<size_t>(index % each)]);
  }
};

// What the client sends to ask for one object.
Bytes Encoded(unsigned char pdu, const char* object) {
  const SnmpSimplePduPtr simple(get_simple_pdu_memory(1, 1), {1});
  simple->pdu_type = pdu;
  strncpy(simple->variables[0].name, object, kSnmpNameSize - 1);
  const SnmpPduPtr standard(snmp_simple2standard(simple.get()));
  Bytes message(kSnmpMessageSize);
  int length = kSnmpMessageSize;
  if (standard == nullptr || snmp_build(standard.get(), message.data(), &length) != 0) {
    Fail("a request could not be encoded");
  }
  message.resize(static_cast<size_t>(length));
  return message;
}

// What registers this computer: the header of the command, then address, name and hardware address.
Bytes Registration() {
  const std::string signature = "MFPP0200ML01";
  const std::string name = "lab-desk";
  Bytes packet(signature.begin(), signature.end());
  packet.insert(packet.end(), {0x12, 0x34, 0x31, 0x03, 28, 0, 0, 0});
  packet.insert(packet.end(), {10, 77, 0, 10});
  packet.insert(packet.end(), name.begin(), name.end());
  packet.resize(packet.size() + 16 - name.size());
  packet.insert(packet.end(), {0x02, 0x56, 0x44, 0x56, 0x58, 0x10, 0, 1});
  return packet;
}

// One answer after the other on one open socket.
void InTurn(const Exchanges& exchanges) {
  const Socket socket;
  socket.SetPatience();
  for (int i = 0; i < exchanges.Count(); ++i) {
    exchanges.Send(socket, i);
    socket.Receive();
  }
}

// The same, each on a socket of its own, waited for with a time-out before it is read.
void ExchangeOnOwnSocket(const Exchanges& exchanges, int index) {
  const Socket socket;
  exchanges.Send(socket, index);
  if (!socket.ComesWithin(kPatienceSeconds)) Fail("no answer came");
  socket.Receive();
}

void OnOwnSockets(const Exchanges& exchanges) {
  for (int i = 0; i < exchanges.Count(); ++i) ExchangeOnOwnSocket(exchanges, i);
}

// Asks for the interfaces of this computer and for three things about each, on a socket of its own,
// as the program does for every registration.
void QueryInterfaces() {
  const Socket socket;
  ifreq interfaces[kMostInterfaces];
  ifconf list{};
  list.ifc_len = sizeof(interfaces);
  list.ifc_req = interfaces;
  if (ioctl(socket.Get(), SIOCGIFCONF, &list) != 0) Fail("no list of interfaces");
  const int count = list.ifc_len / static_cast<int>(sizeof(ifreq));
  for (int i = 0; i < count; ++i) {
    for (const unsigned long query : {SIOCGIFFLAGS, SIOCGIFADDR, SIOCGIFHWADDR}) {
      ifreq answer = interfaces[i];
      ioctl(socket.Get(), query, &answer);
    }
  }
}

// Everything that a registration has to ask the system for.
void WithQueries(const Exchanges& exchanges) {
  for (int i = 0; i < exchanges.Count(); ++i) {
    QueryInterfaces();
    ExchangeOnOwnSocket(exchanges, i);
  }
}

// Many at once on one open socket.
void AtOnce(const Exchanges& exchanges) {
  const Socket socket;
  socket.SetPatience();
  int sent = 0;
  for (int received = 0; received < exchanges.Count(); ++received) {
    while (sent < exchanges.Count() && sent - received < kWindow) exchanges.Send(socket, sent++);
    socket.Receive();
  }
}

double Time(const std::function<void()>& work) {
  const StopWatch watch;
  work();
  return watch.Elapsed();
}

struct Figure {
  const char* name;
  double seconds;
};

// The search: one broadcast, an answer of every scanner, and the second without one that ends it.
void Gather(int scanners) {
  const Socket socket;
  socket.AllowBroadcast();
  socket.Send({INADDR_BROADCAST}, kScannerSnmpPort, Encoded(kPduGetNext, kDiscoveryObject));
  int answers = 0;
  for (; socket.ComesWithin(kQuietSeconds); ++answers) socket.Receive();
  if (answers != scanners) Fail("not every scanner has answered the search");
}

// A survey without anything else: first the search, so that processor and caches have been idle for
// as long as they have in a survey, then the questions, in both ways.
std::vector<Figure> TimeSurvey(const Exchanges& questions) {
  const double gathering = Time([&] { Gather(questions.scanners); });
  const double in_turn = Time([&] { InTurn(questions); });
  Gather(questions.scanners);
  const double own_sockets = Time([&] { OnOwnSockets(questions); });
  return {{"gathering", gathering}, {"asking", in_turn}, {"asking_own_sockets", own_sockets}};
}

// By turns, so that what else the machine does meets all of them.
std::vector<Figure> TimeAll(const Exchanges& exchanges, int rounds) {
  InTurn(exchanges);  // what is slow the first time
  std::vector<Figure> figures;
  for (int i = 0; i < rounds; ++i) {
    figures.push_back({"in_turn", Time([&] { InTurn(exchanges); })});
    figures.push_back({"own_sockets", Time([&] { OnOwnSockets(exchanges); })});
    figures.push_back({"with_queries", Time([&] { WithQueries(exchanges); })});
    figures.push_back({"at_once", Time([&] { AtOnce(exchanges); })});
  }
  return figures;
}

void Print(const std::vector<Figure>& figures) {
  for (const Figure& figure : figures) {
    printf("{\"what\": \"%s\", \"seconds\": %.9f}\n", figure.name, figure.seconds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 4 ? argv[1] : "";
  if (what != "survey" && what != "registration") {
    fputs("Usage: bench_floor survey|registration SCANNERS ROUNDS\n", stderr);
    return 2;
  }
  const int scanners = NumberArgument("bench_floor", argv[2], kMostScanners);
  const int rounds = NumberArgument("bench_floor", argv[3], kMostRounds);
  if (what == "registration") {
    Print(TimeAll({scanners, kCommandPort, {Registration()}}, rounds));
    return 0;
  }
  const Exchanges questions{scanners,
                            kScannerSnmpPort,
                            {Encoded(kPduGet, kModelObject), Encoded(kPduGet, kVendorObject),
                             Encoded(kPduGet, kSysNameObject)}};
  std::vector<Figure> figures = TimeAll(questions, rounds);
  for (const Figure& figure : TimeSurvey(questions)) figures.push_back(figure);
  Print(figures);
  return 0;
}
