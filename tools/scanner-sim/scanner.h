// One simulated scanner: takes what it is asked and says what it sends, when and how often. It
// knows nothing of sockets and clocks.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tools/scanner-sim/datagram.h"
#include "tools/scanner-sim/registration.h"
#include "tools/scanner-sim/scanner_config.h"
#include "tools/scanner-sim/snmp_agent.h"
#include "tools/scanner-sim/spoiling.h"

// A datagram to send.
struct PlannedAnswer {
  Bytes bytes;
  Ipv4 from = 0;
  int delay = 0;  // milliseconds until the first copy
  int copies = 1;
  int copyGap = 0;  // milliseconds from one copy to the next

  // For the log: what was meant, as JSON and in words, and how the bytes differ from that.
  std::string understood;
  std::string text;
  std::vector<std::string> changes;
};

struct Reaction {
  std::optional<PlannedAnswer> answer;
  // For people: "asked for its model, answers T55_E".
  std::string account;
  // Whether it did as it was told, also where no answer says so.
  bool obeys = false;
  // Whether the list of computers is another one now.
  bool listChanged = false;
};

class CScanner {
 public:
  explicit CScanner(ScannerConfig config);

  // Takes one datagram of size bytes. The answer, if any, is for the sender of the datagram.
  Reaction Take(const Understanding& understanding, size_t size);

  const ScannerConfig& Config() const { return m_Config; }
  const std::vector<Computer>& Computers() const { return m_List.Computers(); }

 private:
  // How far it has come with one kind of question.
  struct Progress {
    int asked = 0;
    int answered = 0;
  };

  void TakeRequest(const SnmpMessage& request, Reaction* reaction);
  void TakeCommand(const CommandPacket& command, Reaction* reaction);
  void ApplyRegister(const CommandPacket& command, Reaction* reaction);
  void ApplyUnregister(const CommandPacket& command, Reaction* reaction);
  void Reply(Question question, const CommandPacket& command, int code, Reaction* reaction);
  bool IsIgnored(Question question);
  int NextReplyCode();
  bool NextSequenceIsWrong();
  void Finish(Question question, Bytes bytes, PlannedAnswer answer, Reaction* reaction);

  ScannerConfig m_Config;
  CSnmpAgent m_Agent;
  CComputerList m_List;
  CRandom m_Random;
  std::array<Progress, kQuestionCount> m_Progress = {};
  size_t m_iReplies = 0;
};
