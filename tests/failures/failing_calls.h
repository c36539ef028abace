// Makes single calls of the C library fail, to see what the code under test makes of it.
//
// A test program that is built with failing_calls.cc has functions of its own in place of malloc
// and its kind, socket, sendto and so on, also for the libraries that it uses. They do what the
// real ones do, except within FailEach. That repeats an operation in one process after the other:
// in the first of them the first call fails, in the second the second, until there are no more
// calls to fail. Within getpwuid and strerror nothing fails but getpwuid itself: the C library
// keeps what it sets up then, and asks for more memory in some versions than in others.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace failing {

// The calls, and how each fails. kMalloc stands for calloc, realloc, strdup and new too.
enum Call {
  kMalloc,    // ENOMEM; new throws std::bad_alloc
  kSocket,    // EMFILE
  kSendto,    // ENETUNREACH
  kRecvfrom,  // ECONNREFUSED
  kSelect,    // EINTR
  kIoctl,     // ENODEV
  kFopen,     // EMFILE
  kFdopen,    // ENOMEM
  kGetpwuid,  // ENOMEM
};
constexpr int kCalls = kGetpwuid + 1;

enum Mode {
  kOnce,        // only the n-th call fails
  kFromThenOn,  // the n-th call and all after it
};
constexpr Mode kModes[] = {kOnce, kFromThenOn};

// What is done with a call failing, what can be seen of it then, how its results are released, and
// what is done before. Calls fail in the first one only. All run in one process.
struct Operation {
  const char* name;
  std::function<void()> run;
  std::function<std::string()> describe;
  std::function<void()> release = [] {};
  std::function<void()> prepare = [] {};
};

// What came of one process.
struct Result {
  int n;  // the number of the call that failed, from 1
  Mode mode;
  bool reached;  // whether there were so many calls
  bool threw_bad_alloc;
  long blocks;         // still allocated after the release
  int descriptors;     // more open than before
  std::string seen;    // what `describe` has returned
  std::string errors;  // standard error
};

// Runs the operation with each of the calls of one kind failing, so many processes side by side.
// Expects of every run that it returns or throws std::bad_alloc, that no block of memory and no
// descriptor is left, and what `check` expects. Prints and returns the number of runs, the one
// without a failure included, which is the last to be checked.
int FailEach(Call call, Mode mode, const Operation& operation, int side_by_side,
             const std::function<void(const Result&)>& check);

// Says how many answers will come to a datagram that is broadcast and to one for a single device.
// From then on select waits for those however long they take, and times out at once when there is
// none to wait for.
void ExpectAnswers(int to_broadcast, int to_device);

// The datagrams that this process has passed to sendto, also in vain, since FailEach began it.
std::vector<std::vector<unsigned char>> Sent();

}  // namespace failing
