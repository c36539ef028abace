// The scanners on the network: sockets, delays, logs and lists.
#include "tools/scanner-sim/server.h"

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <limits>

#include "tools/scanner-sim/lists_report.h"
#include "tools/scanner-sim/run_error.h"

namespace {

constexpr uint16_t kSnmpPort = 161;
constexpr uint16_t kCommandPort = 3892;
constexpr size_t kBufferSize = 65536;  // no UDP datagram is longer
constexpr int kReceiveBuffer = 4 << 20;
constexpr uint32_t kSignalNumber = std::numeric_limits<uint32_t>::max();

// From the answer of one scanner to a broadcast to that of the next. Scanners do not answer in the
// same moment, and some hundred answers at once are more than a client's socket holds.
constexpr std::chrono::microseconds kBroadcastSpacing(100);

// So many datagrams are received from one socket, or sent, before the others have their turn.
constexpr int kBatch = 256;

uint16_t PortOf(Protocol protocol) {
  return protocol == Protocol::kSnmp ? kSnmpPort : kCommandPort;
}

sockaddr_in SocketAddress(const Endpoint& endpoint) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(endpoint.port);
  address.sin_addr.s_addr = htonl(endpoint.address);
  return address;
}

// SIGINT and SIGTERM are blocked for good and come out of this descriptor instead.
int OpenSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) throw RunError::Last("signals");
  const int fd = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (fd < 0) throw RunError::Last("signals");
  return fd;
}

int OpenPoll() {
  const int fd = epoll_create1(EPOLL_CLOEXEC);
  if (fd < 0) throw RunError::Last("epoll");
  return fd;
}

void RaiseDescriptorLimit(size_t wanted) {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
  setrlimit(RLIMIT_NOFILE, &limit);
}

void SetSocketOption(int fd, int level, int option, int value) {
  if (setsockopt(fd, level, option, &value, sizeof value) != 0)
    throw RunError::Last("a socket option");
}

// A large buffer keeps the questions of a busy test; a smaller one than asked for is no failure.
void EnlargeReceiveBuffer(int fd) {
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0)
    SetSocketOption(fd, SOL_SOCKET, SO_RCVBUF, kReceiveBuffer);
}

std::string BindHint(int error) {
  if (error == EADDRNOTAVAIL)
    return "; this machine does not have the address, see script/lab for a network that has";
  if (error == EACCES) return "; this port is for root, see script/lab";
  return "";
}

void Bind(int fd, const Endpoint& endpoint) {
  const sockaddr_in address = SocketAddress(endpoint);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
  const int error = errno;
  throw RunError(RunError::Last(endpoint_text(endpoint)).what() + BindHint(error));
}

std::vector<CScanner> MakeScanners(const std::vector<ScannerConfig>& configs) {
  std::vector<CScanner> scanners;
  scanners.reserve(configs.size());
  for (const ScannerConfig& config : configs) scanners.emplace_back(config);
  return scanners;
}

// The addresses that the message's control data gives: that in its header, and that of the machine.
// They are the same unless the datagram is a broadcast.
const in_pktinfo* PacketInfo(msghdr* message) {
  for (cmsghdr* header = CMSG_FIRSTHDR(message); header; header = CMSG_NXTHDR(message, header))
    if (header->cmsg_level == IPPROTO_IP && header->cmsg_type == IP_PKTINFO)
      return reinterpret_cast<const in_pktinfo*>(CMSG_DATA(header));
  return nullptr;
}

}  // namespace

CDescriptor::~CDescriptor() {
  if (m_iFd >= 0) close(m_iFd);
}

CServer::CServer(const std::vector<ScannerConfig>& configs, const OutputOptions& output)
    : m_Output(output),
      m_Scanners(MakeScanners(configs)),
      m_Log(output.logFile),
      m_Signals(OpenSignals()),
      m_Poll(OpenPoll()),
      m_Buffer(kBufferSize) {
  if (!output.readyFile.empty()) unlink(output.readyFile.c_str());
  OpenSockets(configs);
  Watch(m_Signals.Get(), kSignalNumber);
  WriteLists();
  Announce();
}

// The sockets for broadcasts come first: they are bound without SO_REUSEADDR, which fails when
// another program has the port, and get it afterwards to let the scanners have theirs.
void CServer::OpenSockets(const std::vector<ScannerConfig>& configs) {
  RaiseDescriptorLimit(configs.size() * 4 + 64);
  for (const Protocol protocol : {Protocol::kSnmp, Protocol::kRegistration}) {
    OpenSocket(protocol, INADDR_ANY, kNoScanner);
    for (size_t i = 0; i < configs.size(); ++i)
      OpenSocket(protocol, configs[i].address, static_cast<int>(i));
  }
  for (const ScannerConfig& config : configs) OpenStrangers(config);
}

void CServer::OpenSocket(Protocol protocol, Ipv4 address, int scanner) {
  const Endpoint local = {address, PortOf(protocol)};
  CDescriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const int fd = descriptor.Get();
  if (fd < 0) throw RunError::Last("a socket for " + endpoint_text(local));
  if (address != INADDR_ANY) SetSocketOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
  Bind(fd, local);
  SetSocketOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
  SetSocketOption(fd, IPPROTO_IP, IP_PKTINFO, 1);
  EnlargeReceiveBuffer(fd);
  Watch(fd, static_cast<uint32_t>(m_Sockets.size()));
  m_Senders[local] = m_Sockets.size();
  m_Sockets.push_back({std::move(descriptor), protocol, local, scanner});
}

// Sockets for the addresses that answers come from without being a scanner's.
void CServer::OpenStrangers(const ScannerConfig& config) {
  for (size_t i = 0; i < kQuestionCount; ++i) {
    const bool is_snmp = is_snmp_question(static_cast<Question>(i));
    const Protocol protocol = is_snmp ? Protocol::kSnmp : Protocol::kRegistration;
    const auto from = config.rules[i].from;
    if (from && m_Senders.count({*from, PortOf(protocol)}) == 0)
      OpenSocket(protocol, *from, kNoScanner);
  }
}

void CServer::Watch(int fd, uint32_t number) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.u32 = number;
  if (epoll_ctl(m_Poll.Get(), EPOLL_CTL_ADD, fd, &event) != 0) throw RunError::Last("epoll");
}

void CServer::Announce() {
  for (const CScanner& scanner : m_Scanners) Print(scanner_line(scanner.Config()));
  Print("ready: " + std::to_string(m_Scanners.size()) +
        (m_Scanners.size() == 1 ? " scanner" : " scanners"));
  if (!m_Output.readyFile.empty()) replace_file(m_Output.readyFile, "ready\n");
}

void CServer::Run() {
  while (ServeOnce()) SendDue();
  for (const CScanner& scanner : m_Scanners) Print(list_line(scanner));
  WriteLists();
}

// Waits until something happens and takes what came. Returns false when a signal asks for the end.
bool CServer::ServeOnce() {
  epoll_event events[64];
  const int count = epoll_wait(m_Poll.Get(), events, 64, m_Timers.Wait(Clock::now()));
  if (count < 0 && errno != EINTR) throw RunError::Last("epoll");
  for (int i = 0; i < count; ++i) {
    if (events[i].data.u32 == kSignalNumber) return false;
    ReceiveAll(m_Sockets[events[i].data.u32]);
  }
  return true;
}

void CServer::ReceiveAll(const Socket& socket) {
  Received received;
  for (int i = 0; i < kBatch && ReceiveOne(socket, &received); ++i) Handle(socket, received);
}

bool CServer::ReceiveOne(const Socket& socket, Received* received) {
  sockaddr_in sender = {};
  iovec buffer = {m_Buffer.data(), m_Buffer.size()};
  alignas(cmsghdr) char control[256];
  msghdr message = {};
  message.msg_name = &sender;
  message.msg_namelen = sizeof sender;
  message.msg_iov = &buffer;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t size = recvmsg(socket.descriptor.Get(), &message, MSG_DONTWAIT);
  if (size < 0) return false;

  received->from = {ntohl(sender.sin_addr.s_addr), ntohs(sender.sin_port)};
  received->to = socket.local;
  received->broadcast = false;
  if (const in_pktinfo* info = PacketInfo(&message)) {
    received->to.address = ntohl(info->ipi_addr.s_addr);
    received->broadcast = info->ipi_addr.s_addr != info->ipi_spec_dst.s_addr;
  }
  received->bytes.assign(m_Buffer.begin(), m_Buffer.begin() + size);
  return true;
}

void CServer::Handle(const Socket& socket, const Received& received) {
  const Understanding understanding = understand(socket.protocol, received.bytes);
  LogReceived(socket, received, understanding);
  auto start = Clock::now();
  if (received.broadcast) {
    for (CScanner& scanner : m_Scanners) {
      React(&scanner, socket.protocol, received, understanding, start);
      start += kBroadcastSpacing;
    }
  } else if (socket.scanner != kNoScanner) {
    React(&m_Scanners[static_cast<size_t>(socket.scanner)], socket.protocol, received,
          understanding, start);
  }
}

void CServer::LogReceived(const Socket& socket, const Received& received,
                          const Understanding& understanding) {
  WireEntry entry;
  entry.direction = "received";
  entry.protocol = socket.protocol;
  entry.from = received.from;
  entry.to = received.to;
  entry.understood = understanding_json(understanding);
  entry.problem = understanding.problem;
  entry.text = understanding_text(understanding, received.bytes.size());
  if (received.broadcast)
    entry.scanner = "*";
  else if (socket.scanner != kNoScanner)
    entry.scanner = m_Scanners[static_cast<size_t>(socket.scanner)].Config().label;
  else if (entry.problem.empty())
    entry.problem = "no scanner has this address";
  m_Log.Write(entry, received.bytes);
}

// The list is written before the reply leaves: who has the reply finds the list changed.
void CServer::React(CScanner* scanner, Protocol protocol, const Received& received,
                    const Understanding& understanding, Clock::time_point start) {
  Reaction reaction = scanner->Take(understanding, received.bytes.size());
  const ScannerConfig& config = scanner->Config();
  if (m_Output.human)
    Print(ipv4_text(config.address) + " " + config.label + ": " + reaction.account);
  if (reaction.listChanged) {
    Print(list_line(*scanner));
    WriteLists();
  }
  if (!reaction.answer) return;
  const auto answer = std::make_shared<const PlannedAnswer>(std::move(*reaction.answer));
  const auto due = start + std::chrono::milliseconds(answer->delay);
  m_Timers.Put(due, {answer, protocol, received.from, config.label, answer->copies, due});
}

void CServer::SendDue() {
  const auto now = Clock::now();
  for (int i = 0; i < kBatch; ++i) {
    auto outgoing = m_Timers.TakeDue(now);
    if (!outgoing) return;
    Send(*outgoing);
    if (--outgoing->copiesLeft == 0) continue;
    // Never in the past: there the copies would stand before all that other scanners have to send.
    const auto next = outgoing->due + std::chrono::milliseconds(outgoing->answer->copyGap);
    outgoing->due = std::max(next, now);
    const auto due = outgoing->due;
    m_Timers.Put(due, std::move(*outgoing));
  }
}

// The line is in the log before the datagram is on the network, so that nobody who has the answer
// misses its line.
void CServer::Send(const Outgoing& outgoing) {
  const PlannedAnswer& answer = *outgoing.answer;
  const Endpoint from = {answer.from, PortOf(outgoing.protocol)};
  WireEntry entry;
  entry.direction = "sent";
  entry.protocol = outgoing.protocol;
  entry.from = from;
  entry.to = outgoing.to;
  entry.scanner = outgoing.scanner;
  entry.understood = answer.understood;
  entry.text = "answers " + answer.text;
  entry.changes = answer.changes;
  m_Log.Write(entry, answer.bytes);

  const sockaddr_in to = SocketAddress(outgoing.to);
  const Socket& socket = m_Sockets[m_Senders.at(from)];
  if (sendto(socket.descriptor.Get(), answer.bytes.data(), answer.bytes.size(), 0,
             reinterpret_cast<const sockaddr*>(&to), sizeof to) >= 0)
    return;
  entry.direction = "not sent";
  entry.problem = std::strerror(errno);
  m_Log.Write(entry, answer.bytes);
}

void CServer::WriteLists() const {
  if (!m_Output.listsFile.empty()) replace_file(m_Output.listsFile, lists_json(m_Scanners));
}

void CServer::Print(const std::string& line) const {
  if (m_Output.quiet) return;
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}
