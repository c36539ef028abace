// The scanners on the network: sockets, delays, logs and lists.
#pragma once

#include <chrono>
#include <csignal>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/scanner-sim/options.h"
#include "tools/scanner-sim/scanner.h"
#include "tools/scanner-sim/timer_queue.h"
#include "tools/scanner-sim/wire_log.h"

// Owns a file descriptor.
class CDescriptor {
 public:
  explicit CDescriptor(int fd) : m_iFd(fd) {}
  CDescriptor(CDescriptor&& other) noexcept : m_iFd(other.m_iFd) { other.m_iFd = -1; }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;
  CDescriptor& operator=(CDescriptor&&) = delete;
  ~CDescriptor();

  int Get() const { return m_iFd; }

 private:
  int m_iFd;
};

// Every scanner has two sockets bound to its address, so that its answers come from there. A
// socket that is bound to an address gets no broadcasts: those come to one socket for each port
// that is bound to no address, and every scanner answers them from its own socket.
class CServer {
 public:
  // Opens all sockets and files. From here on SIGINT and SIGTERM end Run instead of the process.
  // Throws RunError.
  CServer(const std::vector<ScannerConfig>& configs, const OutputOptions& output);

  // Serves until SIGINT or SIGTERM comes. Throws RunError when a file cannot be written.
  void Run();

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr int kNoScanner = -1;

  struct Socket {
    CDescriptor descriptor;
    Protocol protocol;
    Endpoint local;  // address 0: bound to none
    int scanner;     // index, or kNoScanner
  };

  struct Received {
    Endpoint from;
    Endpoint to;
    bool broadcast = false;
    Bytes bytes;
  };

  // An answer on its way, with the copies that are still to be sent.
  struct Outgoing {
    std::shared_ptr<const PlannedAnswer> answer;
    Protocol protocol;
    Endpoint to;
    std::string scanner;
    int copiesLeft;
    Clock::time_point due;
  };

  void OpenSockets(const std::vector<ScannerConfig>& configs);
  void OpenSocket(Protocol protocol, Ipv4 address, int scanner);
  void OpenStrangers(const ScannerConfig& config);
  void Watch(int fd, uint32_t number);
  void Announce();

  bool ServeOnce();
  void ReceiveAll(const Socket& socket);
  bool ReceiveOne(const Socket& socket, Received* received);
  void Handle(const Socket& socket, const Received& received);
  void LogReceived(const Socket& socket, const Received& received,
                   const Understanding& understanding);
  // The scanner's delay counts from start.
  void React(CScanner* scanner, Protocol protocol, const Received& received,
             const Understanding& understanding, Clock::time_point start);
  void SendDue();
  void Send(const Outgoing& outgoing);
  void WriteLists() const;
  void Print(const std::string& line) const;

  OutputOptions m_Output;
  std::vector<CScanner> m_Scanners;
  CWireLog m_Log;
  CDescriptor m_Signals;
  CDescriptor m_Poll;
  std::vector<Socket> m_Sockets;
  std::map<Endpoint, size_t> m_Senders;  // the socket of each local address and port
  CTimerQueue<Outgoing> m_Timers;
  Bytes m_Buffer;
};
