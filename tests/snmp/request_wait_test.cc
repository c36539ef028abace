// How long the gathering of answers waits. Nothing is waited for here: the waits are stood in for.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "snmp/request.h"

namespace {

// The seconds that each wait was to last.
std::vector<unsigned int> waits;

}  // namespace

// The linker puts this in front of the real function. Each wait passes at once without an answer.
extern "C" int __wrap__Z10net_selectij(int socket, unsigned int seconds);

int __wrap__Z10net_selectij(int /*socket*/, unsigned int seconds) {
  waits.push_back(seconds);
  return -1;
}

namespace {

int Ask(unsigned int seconds) {
  const SnmpSimplePduPtr request(get_simple_pdu_memory(1, 1), {1});
  const SnmpSimplePduPtr answers(get_simple_pdu_memory(1, 1), {1});
  snprintf(request->variables[0].name, sizeof(request->variables[0].name), "1.3.6");
  int count = 0;
  waits.clear();
  return multi_snmp_request_simple("255.255.255.255", seconds, request.get(), answers.get(), 1,
                                   &count);
}

TEST(RequestWait, LastsAsLongAsTheCallerSays) {
  EXPECT_EQ(-1, Ask(1));
  EXPECT_EQ(waits, std::vector<unsigned int>{1});
  EXPECT_EQ(-1, Ask(7));
  EXPECT_EQ(waits, std::vector<unsigned int>{7});
}

}  // namespace
