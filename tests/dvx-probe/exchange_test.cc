// Tests of asking many questions at once, with devices on loopback that answer, refuse and are
// silent.
#include "dvx-probe/exchange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/support/fake_network.h"
#include "tests/support/no_descriptors.h"

// What happens between a socket's becoming readable and its being read.
static std::function<void(int)> g_before_reading;

// CUdpPort's reading is told from the devices' by its flag.
extern "C" ssize_t __real_recvmsg(int fd, msghdr* message, int flags);
extern "C" ssize_t __wrap_recvmsg(int fd, msghdr* message, int flags) {
  if (flags == MSG_DONTWAIT && g_before_reading) std::exchange(g_before_reading, nullptr)(fd);
  return __real_recvmsg(fd, message, flags);
}

namespace {

using fake_network::Always;
using fake_network::Here;
using fake_network::Host;
using fake_network::Received;
using fake_network::SocketAddress;
using fake_network::Stopwatch;
using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kLong = 20000;

Question To(const std::string& address, unsigned short port, const Bytes& data = {'?'}) {
  return {SocketAddress(address, port), data, {}};
}

// A port of 127.0.0.1 on which nobody listens.
unsigned short ClosedPort() { return Host(Here("127.0.0.1")).Port(); }

Outcome Ask(const Question& question, Ends ends, int wait, const Watcher& watcher = {}) {
  return ask_all({question}, ends, wait, nullptr, watcher).at(0);
}

// Sends a datagram that is refused, and waits for the report of that.
void BeRefused(int fd) {
  const sockaddr_in nobody = SocketAddress("127.0.0.1", ClosedPort());
  const auto* to = reinterpret_cast<const sockaddr*>(&nobody);
  // Sending tells of the report before this one, and takes it.
  while (sendto(fd, "x", 1, 0, to, sizeof(nobody)) < 0) ASSERT_EQ(errno, ECONNREFUSED);
  pollfd report{fd, 0, 0};
  ASSERT_EQ(poll(&report, 1, kLong), 1);
  ASSERT_EQ(report.revents, POLLERR);
}

TEST(Exchange, AnAnswerEndsTheQuestion) {
  Host device(Here("127.0.0.1"), Always({'a', 'b'}));
  const Stopwatch time;
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWithFirstAnswer, kLong);
  EXPECT_LT(time.Seconds(), 10);
  EXPECT_EQ(outcome.sendError, 0);
  EXPECT_EQ(outcome.networkError, 0);
  ASSERT_THAT(outcome.answers, SizeIs(1));
  EXPECT_EQ(outcome.answers[0].data, (Bytes{'a', 'b'}));
  EXPECT_EQ(ntohs(outcome.answers[0].from.sin_port), device.Port());
  EXPECT_EQ(fake_network::Text(outcome.answers[0].to), "127.0.0.1");
  EXPECT_EQ(outcome.port, device.Log().at(0).from_port);
}

TEST(Exchange, WhatIsRefusedIsWaitedForToTheEnd) {
  int told = 0;
  const Stopwatch time;
  const Outcome outcome =
      Ask(To("127.0.0.1", ClosedPort()), Ends::kWithFirstAnswer, 300, [&told] { ++told; });
  EXPECT_GE(time.Seconds(), 0.3);
  EXPECT_THAT(outcome.answers, IsEmpty());
  EXPECT_EQ(outcome.sendError, 0);
  EXPECT_EQ(outcome.networkError, ECONNREFUSED);
  EXPECT_EQ(told, 1);
}

// The kernel reports to the port, not to the datagram: this one, sent from the same port, stands
// for a router's report that comes before the device's answer.
TEST(Exchange, AnAnswerAfterAReportCounts) {
  Host device(Here("0.0.0.0"), [](Host& self, const Received& question) {
    self.ReplyAs("127.0.0.2", question, {'2'});
    std::this_thread::sleep_for(milliseconds(200));
    self.Reply(question, {'1'});
  });
  g_before_reading = BeRefused;
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWhenQuiet, kLong);
  EXPECT_EQ(outcome.networkError, ECONNREFUSED);
  ASSERT_THAT(outcome.answers, SizeIs(2));
  EXPECT_EQ(outcome.answers[0].data, Bytes{'2'});
  EXPECT_EQ(outcome.answers[1].data, Bytes{'1'});
}

// The report comes when the socket is readable already, and time is up before anybody looks again.
TEST(Exchange, AnAnswerBehindAReportIsTakenThoughTimeIsUp) {
  Host device(Here("127.0.0.1"), Always({'a'}));
  bool refused = false;
  g_before_reading = [&refused](int fd) {
    BeRefused(fd);
    std::this_thread::sleep_for(milliseconds(1200));
    refused = true;
  };
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWithFirstAnswer, 1000);
  EXPECT_TRUE(refused);
  EXPECT_EQ(outcome.networkError, ECONNREFUSED);
  ASSERT_THAT(outcome.answers, SizeIs(1));
  EXPECT_EQ(outcome.answers[0].data, Bytes{'a'});
}

TEST(Exchange, SeveralReportsHideNoAnswer) {
  Host device(Here("127.0.0.1"), Always({'a'}));
  g_before_reading = [](int fd) {
    for (int i = 0; i < 3; ++i) BeRefused(fd);
    std::this_thread::sleep_for(milliseconds(1200));
  };
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWithFirstAnswer, 1000);
  EXPECT_EQ(outcome.networkError, ECONNREFUSED);
  EXPECT_THAT(outcome.answers, SizeIs(1));
}

// A datagram with a wrong checksum, for one, is gone when it is read.
TEST(Exchange, ADatagramThatIsGoneIsNoAnswerAndNoError) {
  Host device(Here("127.0.0.1"), [](Host& self, const Received& question) {
    self.Reply(question, {'1'});
    std::this_thread::sleep_for(milliseconds(200));
    self.Reply(question, {'2'});
  });
  g_before_reading = [](int fd) {
    char byte;
    EXPECT_EQ(recv(fd, &byte, 1, MSG_DONTWAIT), 1);
  };
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWithFirstAnswer, kLong);
  EXPECT_EQ(outcome.networkError, 0);
  ASSERT_THAT(outcome.answers, SizeIs(1));
  EXPECT_EQ(outcome.answers[0].data, Bytes{'2'});
}

// Answers to a broadcast come from other addresses than the one that was asked.
TEST(Exchange, WhoWaitsForQuietWaitsAfreshAfterEachAnswer) {
  Host device(Here("0.0.0.0"), [](Host& self, const Received& question) {
    std::this_thread::sleep_for(milliseconds(400));
    self.ReplyAs("127.0.0.2", question, {'2'});
    std::this_thread::sleep_for(milliseconds(400));
    self.ReplyAs("127.0.0.3", question, {'3'});
  });
  int told = 0;
  const Stopwatch time;
  const Outcome outcome =
      Ask(To("127.0.0.1", device.Port()), Ends::kWhenQuiet, 1000, [&told] { ++told; });
  EXPECT_GE(time.Seconds(), 1.8);
  ASSERT_THAT(outcome.answers, SizeIs(2));
  EXPECT_EQ(outcome.answers[0].data, Bytes{'2'});
  EXPECT_EQ(outcome.answers[1].data, Bytes{'3'});
  EXPECT_GE(outcome.answers[0].seconds, 0.4);
  EXPECT_GE(outcome.answers[1].seconds, 0.8);
  EXPECT_EQ(told, 2);
}

TEST(Exchange, WhoIsAskedAndAnswersEndsTheWaitForQuiet) {
  Host device(Here("0.0.0.0"), [](Host& self, const Received& question) {
    self.ReplyAs("127.0.0.2", question, {'2'});
    self.ReplyAs("127.0.0.1", question, {'1'});
  });
  const Stopwatch time;
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWhenQuiet, kLong);
  EXPECT_LT(time.Seconds(), 10);
  EXPECT_THAT(outcome.answers, SizeIs(2));
}

TEST(Exchange, TheFirstAnswerWillDoWhoeverSendsIt) {
  Host device(Here("0.0.0.0"), [](Host& self, const Received& question) {
    self.ReplyAs("127.0.0.2", question, {'2'});
  });
  const Stopwatch time;
  const Outcome outcome = Ask(To("127.0.0.1", device.Port()), Ends::kWithFirstAnswer, kLong);
  EXPECT_LT(time.Seconds(), 10);
  EXPECT_THAT(outcome.answers, SizeIs(1));
}

TEST(Exchange, OutcomesAreInTheOrderOfTheQuestions) {
  Host device(Here("127.0.0.1"),
              [](Host& self, const Received& question) { self.Reply(question, question.bytes); });
  std::vector<Question> questions;
  for (uint8_t i = 0; i < 200; ++i) questions.push_back(To("127.0.0.1", device.Port(), {i}));
  int told = 0;
  const std::vector<Outcome> outcomes =
      ask_all(questions, Ends::kWithFirstAnswer, kLong, nullptr, [&told] { ++told; });
  ASSERT_THAT(outcomes, SizeIs(200));
  for (uint8_t i = 0; i < 200; ++i) {
    ASSERT_THAT(outcomes[i].answers, SizeIs(1));
    EXPECT_EQ(outcomes[i].answers[0].data, Bytes{i});
  }
  EXPECT_EQ(told, 200);
}

TEST(Exchange, SixtyFourQuestionsAreOnTheirWayAtATime) {
  Host silent(Here("127.0.0.1"));
  const std::vector<Question> questions(65, To("127.0.0.1", silent.Port()));
  size_t before_the_first_end = 0;
  ask_all(questions, Ends::kWithFirstAnswer, 1000, nullptr, [&] {
    if (before_the_first_end == 0) before_the_first_end = silent.Log().size();
  });
  EXPECT_EQ(before_the_first_end, 64U);
  EXPECT_THAT(silent.WaitFor(65), SizeIs(65));
}

TEST(Exchange, WhatCannotBeSentIsToldAndKeepsNobody) {
  int told = 0;
  const Stopwatch time;
  Question question = To("127.0.0.1", 9);
  question.data.resize(70000);
  const Outcome outcome = Ask(question, Ends::kWithFirstAnswer, kLong, [&told] { ++told; });
  EXPECT_LT(time.Seconds(), 10);
  EXPECT_EQ(outcome.sendError, EMSGSIZE);
  EXPECT_EQ(told, 1);
}

TEST(Exchange, AnInterfaceAndItsAddressAreUsed) {
  Host device(Here("127.0.0.1"), Always({'a'}));
  Question question = To("127.0.0.1", device.Port());
  question.interface = "lo";
  question.source = SocketAddress("127.0.0.9", 0).sin_addr;
  std::string bound;
  g_before_reading = [&bound](int fd) {
    char name[IF_NAMESIZE] = {};
    socklen_t size = sizeof(name);
    getsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, name, &size);
    bound = name;
  };
  const Outcome outcome = Ask(question, Ends::kWithFirstAnswer, kLong);
  ASSERT_THAT(outcome.answers, SizeIs(1));
  EXPECT_EQ(bound, "lo");
  EXPECT_EQ(device.Log().at(0).from, "127.0.0.9");
  EXPECT_EQ(fake_network::Text(outcome.answers[0].to), "127.0.0.9");
}

TEST(Exchange, WithoutASocketNothingCanBeAsked) {
  std::string problem;
  try {
    const NoDescriptors none;
    Ask(To("127.0.0.1", 9), Ends::kWithFirstAnswer, 1);
  } catch (const std::runtime_error& error) {
    problem = error.what();
  }
  EXPECT_EQ(problem, "socket: Too many open files");
}

}  // namespace
