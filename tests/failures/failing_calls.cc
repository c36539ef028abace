// The functions that stand in for those of the C library, and the processes in which they fail.
#include "tests/failures/failing_calls.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "tests/support/cancelled_thread.h"

// The allocators behind malloc: the C library's, and the sanitizers' where there is one.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
void* __interceptor_malloc(size_t size) __attribute__((weak));
void* __interceptor_calloc(size_t count, size_t size) __attribute__((weak));
void* __interceptor_realloc(void* block, size_t size) __attribute__((weak));
void __interceptor_free(void* block) __attribute__((weak));
}

namespace {

using failing::Call;
using failing::Mode;
using failing::Result;

// Longer than any run takes that does not hang.
constexpr unsigned int kPatienceSeconds = 60;

bool armed = false;
Call failing_call = failing::kMalloc;
Mode failing_mode = failing::kOnce;
int calls_left = 0;  // until one fails
bool reached = false;

bool counting = false;
long blocks = 0;

constexpr size_t kSentMax = 32;
unsigned char sent[kSentMax][256];
size_t sent_size[kSentMax];
size_t sent_count = 0;

// Whether this call is to fail.
bool Fails(Call call, int error) {
  if (!armed || call != failing_call) return false;
  if (calls_left > 0) --calls_left;
  if (calls_left > 0 || (reached && failing_mode == failing::kOnce)) return false;
  reached = true;
  errno = error;
  return true;
}

void* Counted(void* block) {
  if (counting && block != nullptr) ++blocks;
  return block;
}

template <typename Function>
void Find(Function** function, const char* name) {
  *function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// The functions behind those of this file.
struct RealCalls {
  RealCalls() {
    Find(&socket, "socket");
    Find(&sendto, "sendto");
    Find(&recvfrom, "recvfrom");
    Find(&select, "select");
    Find(&ioctl, "ioctl");
    Find(&fopen, "fopen");
    Find(&fdopen, "fdopen");
    Find(&getpwuid, "getpwuid");
    Find(&strerror, "strerror");
  }

  int (*socket)(int, int, int);
  ssize_t (*sendto)(int, const void*, size_t, int, const sockaddr*, socklen_t);
  ssize_t (*recvfrom)(int, void*, size_t, int, sockaddr*, socklen_t*);
  int (*select)(int, fd_set*, fd_set*, fd_set*, timeval*);
  int (*ioctl)(int, unsigned long, ...);
  FILE* (*fopen)(const char*, const char*);
  FILE* (*fdopen)(int, const char*);
  passwd* (*getpwuid)(uid_t);
  char* (*strerror)(int);
};

const RealCalls& Real() {
  static const RealCalls calls;
  return calls;
}

// Calls a function with nothing failing or counted within.
template <typename Function, typename Argument>
auto Undisturbed(Function* function, Argument argument) {
  const bool was_armed = std::exchange(armed, false);
  const bool was_counting = std::exchange(counting, false);
  const auto result = function(argument);
  armed = was_armed;
  counting = was_counting;
  return result;
}

// Answers that are still to come to the socket in use; negative when nobody said how many will.
int answers_to_broadcast = -1;
int answers_to_device = -1;
int answers_due = -1;

void CountAnswersDue(const sockaddr* to) {
  if (answers_to_broadcast < 0) return;
  const in_addr address = reinterpret_cast<const sockaddr_in*>(to)->sin_addr;
  const bool broadcast = address.s_addr == INADDR_BROADCAST;
  answers_due = broadcast ? answers_to_broadcast : answers_to_device;
}

void Remember(const void* data, size_t size) {
  if (!armed || sent_count == kSentMax) return;
  sent_size[sent_count] = std::min(size, sizeof(sent[0]));
  memcpy(sent[sent_count], data, sent_size[sent_count]);
  ++sent_count;
}

}  // namespace

// --- in place of the C library's ----------------------------------------------------------------

extern "C" {

void* malloc(size_t size) noexcept {
  if (Fails(failing::kMalloc, ENOMEM)) return nullptr;
  return Counted(__interceptor_malloc != nullptr ? __interceptor_malloc(size)
                                                 : __libc_malloc(size));
}

void* calloc(size_t count, size_t size) noexcept {
  if (Fails(failing::kMalloc, ENOMEM)) return nullptr;
  return Counted(__interceptor_calloc != nullptr ? __interceptor_calloc(count, size)
                                                 : __libc_calloc(count, size));
}

void* realloc(void* block, size_t size) noexcept {
  if (Fails(failing::kMalloc, ENOMEM)) return nullptr;
  if (counting && block == nullptr) ++blocks;
  return __interceptor_realloc != nullptr ? __interceptor_realloc(block, size)
                                          : __libc_realloc(block, size);
}

void free(void* block) noexcept {
  if (counting && block != nullptr) --blocks;
  if (__interceptor_free != nullptr) {
    __interceptor_free(block);
  } else {
    __libc_free(block);
  }
}

// The sanitizers' own does not call malloc.
char* strdup(const char* text) noexcept {
  const size_t size = strlen(text) + 1;
  void* copy = malloc(size);
  return copy != nullptr ? static_cast<char*>(memcpy(copy, text, size)) : nullptr;
}

int socket(int domain, int type, int protocol) noexcept {
  if (Fails(failing::kSocket, EMFILE)) return -1;
  if (answers_to_broadcast >= 0) answers_due = 0;
  return Real().socket(domain, type, protocol);
}

ssize_t sendto(int fd, const void* data, size_t size, int flags, const sockaddr* to,
               socklen_t to_size) {
  Remember(data, size);
  if (Fails(failing::kSendto, ENETUNREACH)) return -1;
  CountAnswersDue(to);
  return Real().sendto(fd, data, size, flags, to, to_size);
}

ssize_t recvfrom(int fd, void* data, size_t size, int flags, sockaddr* from, socklen_t* from_size) {
  if (Fails(failing::kRecvfrom, ECONNREFUSED)) return -1;
  if (answers_due > 0) --answers_due;
  return Real().recvfrom(fd, data, size, flags, from, from_size);
}

int select(int count, fd_set* readable, fd_set* writable, fd_set* special, timeval* wait) {
  if (Fails(failing::kSelect, EINTR)) return -1;
  if (answers_due == 0) {
    FD_ZERO(readable);
    return 0;
  }
  timeval patience{kPatienceSeconds, 0};
  return Real().select(count, readable, writable, special, answers_due < 0 ? wait : &patience);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return Fails(failing::kIoctl, ENODEV) ? -1 : Real().ioctl(fd, request, argument);
}

FILE* fopen(const char* path, const char* mode) {
  return Fails(failing::kFopen, EMFILE) ? nullptr : Real().fopen(path, mode);
}

FILE* fdopen(int fd, const char* mode) noexcept {
  return Fails(failing::kFdopen, ENOMEM) ? nullptr : Real().fdopen(fd, mode);
}

passwd* getpwuid(uid_t uid) {
  if (Fails(failing::kGetpwuid, ENOMEM)) return nullptr;
  return Undisturbed(Real().getpwuid, uid);
}

// Where it has no memory to look for a translation it does without one; some versions ask for none.
char* strerror(int error) noexcept { return Undisturbed(Real().strerror, error); }

}  // extern "C"

void* operator new(size_t size) {
  void* block = malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, size_t /*size*/) noexcept { free(block); }
void operator delete[](void* block, size_t /*size*/) noexcept { free(block); }

// --- the processes ------------------------------------------------------------------------------

namespace {

constexpr const char* kNames[failing::kCalls] = {"malloc", "socket", "sendto", "recvfrom", "select",
                                                 "ioctl",  "fopen",  "fdopen", "getpwuid"};

// What the child tells in front of the texts.
struct Head {
  bool reached;
  bool threw_bad_alloc;
  long blocks;
  int descriptors;
  size_t seen_size;
};

// A run in a process of its own.
struct Child {
  int n;
  pid_t pid;
  FILE* output;
  FILE* errors;
};

// Runs the operation with its n-th call failing.
bool RunArmed(Call call, Mode mode, int n, const std::function<void()>& run) {
  bool threw = false;
  counting = true;
  failing_call = call;
  failing_mode = mode;
  calls_left = n;
  armed = true;
  try {
    run();
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  armed = false;
  counting = false;
  return threw;
}

void WriteAll(int fd, const void* data, size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(fd, bytes, size);
    if (written <= 0) _exit(3);
    bytes += written;
    size -= static_cast<size_t>(written);
  }
}

[[noreturn]] void BeChild(Call call, Mode mode, int n, const failing::Operation& operation,
                          int output, int errors) {
  alarm(kPatienceSeconds);
  operation.prepare();
  dup2(errors, STDERR_FILENO);
  const int descriptors = CountDescriptors();
  Head head{};
  head.threw_bad_alloc = RunArmed(call, mode, n, operation.run);
  head.reached = reached;
  const std::string seen = operation.describe();
  counting = true;
  operation.release();
  counting = false;
  head.blocks = blocks;
  head.descriptors = CountDescriptors() - descriptors;
  head.seen_size = seen.size();
  WriteAll(output, &head, sizeof(head));
  WriteAll(output, seen.data(), seen.size());
  _exit(0);
}

Child StartChild(Call call, Mode mode, int n, const failing::Operation& operation) {
  Child child{n, -1, tmpfile(), tmpfile()};
  child.pid = fork();
  if (child.pid == 0) BeChild(call, mode, n, operation, fileno(child.output), fileno(child.errors));
  return child;
}

std::string ReadWhole(FILE* file) {
  std::string text;
  char buffer[4096];
  rewind(file);
  while (const size_t size = fread(buffer, 1, sizeof(buffer), file)) text.append(buffer, size);
  fclose(file);
  return text;
}

// Waits for the end of a run. Nothing may have ended it but itself.
Result Finish(const Child& child, Mode mode) {
  int status = -1;
  waitpid(child.pid, &status, 0);
  const std::string output = ReadWhole(child.output);
  Result result{child.n, mode, false, false, 0, 0, "", ReadWhole(child.errors)};
  Head head{};
  if (status != 0 || output.size() < sizeof(head)) {
    ADD_FAILURE() << (WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "ended by exit") << "\n"
                  << result.errors;
    return result;
  }
  memcpy(&head, output.data(), sizeof(head));
  result.reached = head.reached;
  result.threw_bad_alloc = head.threw_bad_alloc;
  result.blocks = head.blocks;
  result.descriptors = head.descriptors;
  result.seen = output.substr(sizeof(head));
  return result;
}

void Check(const Result& result, const std::function<void(const Result&)>& check) {
  EXPECT_EQ(0, result.blocks) << "blocks of memory left";
  EXPECT_EQ(0, result.descriptors) << "descriptors left";
  check(result);
  if (::testing::Test::HasFailure())
    printf("seen: %s\nerrors: %s\n", result.seen.c_str(), result.errors.c_str());
}

}  // namespace

namespace failing {

int FailEach(Call call, Mode mode, const Operation& operation, int side_by_side,
             const std::function<void(const Result&)>& check) {
  const char* when = mode == kOnce ? "" : " from then on";
  Real();          // looked up before anything is counted
  fflush(stdout);  // or every child prints it too
  for (int first = 1;; first += side_by_side) {
    std::vector<Child> children;
    children.reserve(static_cast<size_t>(side_by_side));
    for (int i = 0; i < side_by_side; ++i) {
      children.push_back(StartChild(call, mode, first + i, operation));
    }
    int runs = 0;
    for (const Child& child : children) {
      const ::testing::ScopedTrace trace(
          __FILE__, __LINE__,
          std::string(kNames[call]) + " number " + std::to_string(child.n) + " fails" + when);
      const Result result = Finish(child, mode);
      if (runs == 0) Check(result, check);
      if (!result.reached && runs == 0) runs = child.n;
    }
    if (runs == 0 && !::testing::Test::HasFailure()) continue;
    printf("%s: %s fails%s: %d runs\n", operation.name, kNames[call], when, runs);
    return runs;
  }
}

void ExpectAnswers(int to_broadcast, int to_device) {
  answers_to_broadcast = to_broadcast;
  answers_to_device = to_device;
}

std::vector<std::vector<unsigned char>> Sent() {
  std::vector<std::vector<unsigned char>> datagrams;
  for (size_t i = 0; i < sent_count; ++i) {
    datagrams.emplace_back(sent[i], sent[i] + sent_size[i]);
  }
  return datagrams;
}

}  // namespace failing
