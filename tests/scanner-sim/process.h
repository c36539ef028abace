// A running scanner simulator and a client of it, for tests inside the private network.
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/scanner-sim/addresses.h"
#include "tools/scanner-sim/bytes.h"

// Milliseconds that are enough for anything that ought to happen.
constexpr int kLongEnough = 20000;

// A program whose standard output and standard error are read line by line.
class CProcess {
 public:
  explicit CProcess(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    m_iPid = fork();
    if (m_iPid == 0) {
      dup2(ends[1], STDOUT_FILENO);
      dup2(ends[1], STDERR_FILENO);
      close(ends[0]);
      close(ends[1]);
      std::vector<char*> arguments;
      arguments.reserve(command.size() + 1);
      for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
      arguments.push_back(nullptr);
      execvp(arguments[0], arguments.data());
      _exit(127);
    }
    close(ends[1]);
    m_iOutput = ends[0];
  }

  CProcess(const CProcess&) = delete;
  CProcess& operator=(const CProcess&) = delete;

  ~CProcess() {
    if (m_iPid > 0) Stop(SIGKILL);
    if (m_iOutput >= 0) close(m_iOutput);
  }

  // The next line of output. Throws when there is none any more or none comes.
  std::string ReadLine() {
    size_t end;
    while ((end = m_sBuffer.find('\n')) == std::string::npos) {
      if (!ReadMore()) throw std::runtime_error("the output ended with: " + m_sBuffer);
    }
    std::string line = m_sBuffer.substr(0, end);
    m_sBuffer.erase(0, end + 1);
    return line;
  }

  // Reads up to and including this line, and returns what came before it.
  std::vector<std::string> ReadUpTo(const std::string& wanted) {
    std::vector<std::string> lines;
    for (std::string line = ReadLine(); line != wanted; line = ReadLine()) lines.push_back(line);
    return lines;
  }

  // Everything that it still writes until it ends.
  std::string ReadRest() {
    while (ReadMore()) {
    }
    return std::move(m_sBuffer);
  }

  // Reads no more of what it writes.
  void LeaveOutput() {
    close(m_iOutput);
    m_iOutput = -1;
  }

  // Sends the signal, if it is one, and returns the exit status, or -1 after any other end.
  int Stop(int signal) {
    if (signal != 0) kill(m_iPid, signal);
    int status = 0;
    waitpid(m_iPid, &status, 0);
    m_iPid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  bool ReadMore() {
    pollfd output = {m_iOutput, POLLIN, 0};
    if (poll(&output, 1, kLongEnough) != 1) throw std::runtime_error("no output comes");
    char buffer[4096];
    const ssize_t size = read(m_iOutput, buffer, sizeof buffer);
    if (size <= 0) return false;
    m_sBuffer.append(buffer, static_cast<size_t>(size));
    return true;
  }

  pid_t m_iPid = -1;
  int m_iOutput = -1;
  std::string m_sBuffer;
};

struct Datagram {
  Endpoint from;
  Bytes bytes;
};

// A UDP socket of this computer.
class CClient {
 public:
  CClient() : m_iFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(m_iFd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    // The usual room holds 256 answers, and on a busy machine all of 300 may wait to be read.
    const int room = 1 << 20;
    setsockopt(m_iFd, SOL_SOCKET, SO_RCVBUFFORCE, &room, sizeof room);
  }
  CClient(const CClient&) = delete;
  CClient& operator=(const CClient&) = delete;
  ~CClient() { close(m_iFd); }

  // Returns whether the datagram could be sent.
  bool Send(const char* address, uint16_t port, const Bytes& bytes) {
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = inet_addr(address);
    return sendto(m_iFd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(bytes.size());
  }

  // The next datagram. Throws when none comes within so many milliseconds.
  Datagram Receive(int milliseconds = kLongEnough) {
    if (!IsReadable(milliseconds)) throw std::runtime_error("no datagram comes");
    sockaddr_in from = {};
    socklen_t size = sizeof from;
    Bytes bytes(65536);
    const ssize_t received =
        recvfrom(m_iFd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (received < 0) throw std::runtime_error("recvfrom");
    bytes.resize(static_cast<size_t>(received));
    return {{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)}, std::move(bytes)};
  }

  // Whether a datagram comes within so many milliseconds.
  bool IsReadable(int milliseconds) {
    pollfd input = {m_iFd, POLLIN, 0};
    return poll(&input, 1, milliseconds) == 1;
  }

 private:
  int m_iFd;
};
