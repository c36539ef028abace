// Putting this computer on the lists of scanners, and taking it off.
#include "dvx-probe/registration.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/text_copy.h"
#include "devreg/client_registration.h"
#include "devreg/conversation.h"
#include "dvx-probe/addresses.h"
#include "dvx-probe/texts.h"
#include "snmp/udp/transport.h"
#include "snmp/udp/udp_socket.h"
#include "ui/settings/host_name.h"

namespace {

constexpr int kMilliseconds = 1000;
constexpr int kUnregisterWait = 1000;
constexpr size_t kShownName = sizeof(CLIENTREGPARAM::szHostName) - 1;

Question QuestionOf(in_addr scanner, const CommandConversation& command) {
  if (command.Packet() == nullptr) throw std::bad_alloc();
  const unsigned char* bytes = command.Packet();
  return {net_socket_address(scanner, udpCommandPort1),
          Bytes(bytes, bytes + command.PacketLength()),
          {}};
}

// Tells the conversation what became of its packet.
void Tell(CommandConversation* command, const Outcome& outcome) {
  if (outcome.answers.empty()) return command->TakeTimeOut();
  const Bytes& datagram = outcome.answers.front().data;
  command->TakeDatagram(datagram.data(), static_cast<int>(datagram.size()));
}

Result ResultOf(unsigned char code) {
  if (code == CMD_CLRG_REG_OK_RES) return Result::kDone;
  return code == CMD_CLRG_REG_NOT_NOW ? Result::kNotNow : Result::kRefused;
}

// One scanner being registered on.
class CTalk {
 public:
  CTalk(in_addr scanner, const CLIENTREGPARAM& record) : m_Registration(record) {
    m_Result.address = scanner;
  }

  bool IsOver() const { return m_Registration.IsOver(); }
  const Registration& Result() const { return m_Result; }
  Question Next() { return QuestionOf(m_Result.address, m_Registration.Command()); }

  void Take(const Outcome& outcome) {
    CommandConversation& command = m_Registration.Command();
    Tell(&command, outcome);
    m_Result.networkError = outcome.networkError;
    if (outcome.sendError != 0) {
      m_Result.networkError = outcome.sendError;
      m_Result.result = ::Result::kNotSent;
    }
    m_Result.wrongSequence = m_Result.wrongSequence || command.SawOtherReply();
    if (!command.IsOver()) return;
    const bool replied = command.Result() == 0;
    const unsigned char code = replied ? command.ReplyCode() : 0;
    m_Registration.Advance();
    if (!replied) return;
    // While it goes on: no reply to the next command counts as none at all.
    m_Result.code = code;
    m_Result.result = IsOver() ? ResultOf(code) : ::Result::kSilent;
  }

 private:
  RegistrationConversation m_Registration;
  Registration m_Result;
};

void Show(const Network& network, const char* what, size_t count, size_t all) {
  if (network.progress == nullptr) return;
  network.progress->Show(std::string(what) + "... " + std::to_string(count) + " of " +
                         std::to_string(all));
}

// One packet to each scanner that is not through yet.
void Round(std::vector<CTalk>* talks, const Network& network) {
  std::vector<CTalk*> asked;
  std::vector<Question> questions;
  for (CTalk& talk : *talks) {
    if (talk.IsOver()) continue;
    asked.push_back(&talk);
    questions.push_back(talk.Next());
  }
  size_t count = talks->size() - asked.size();
  const auto tell = [&] { Show(network, "Registering", count++, talks->size()); };
  tell();
  const std::vector<Outcome> outcomes =
      ask_all(questions, Ends::kWithFirstAnswer, static_cast<int>(kReplySeconds) * kMilliseconds,
              network.trace, tell);
  for (size_t i = 0; i < asked.size(); ++i) asked[i]->Take(outcomes[i]);
}

// What a scanner says to an unregister command, if anything.
Registration RemovalResult(in_addr scanner, const Outcome& outcome, CommandConversation* command) {
  Registration result;
  result.address = scanner;
  result.result = Result::kDone;
  result.networkError = outcome.networkError;
  if (outcome.sendError != 0) {
    result.result = Result::kNotSent;
    result.networkError = outcome.sendError;
    return result;
  }
  if (outcome.networkError != 0) {
    result.result = Result::kSilent;
    return result;
  }
  Tell(command, outcome);
  if (command->Result() == 0 && command->ReplyCode() != 0) {
    result.result = ResultOf(command->ReplyCode());
    if (result.result == Result::kRefused) result.code = command->ReplyCode();
  }
  return result;
}

std::string SilenceText(const Registration& registration) {
  if (registration.wrongSequence) return "no reply (only replies to other commands)";
  if (registration.networkError == 0) return "no reply";
  return std::string("no reply (") + strerror(registration.networkError) + ")";
}

}  // namespace

std::vector<Registration> register_on(const std::vector<in_addr>& scanners, const std::string& name,
                                      const Network& network) {
  const CLIENTREGPARAM record = ThisComputer(nullptr, name.c_str());
  std::vector<CTalk> talks;
  talks.reserve(scanners.size());
  for (const in_addr scanner : scanners) talks.emplace_back(scanner, record);
  const auto is_over = [](const CTalk& talk) { return talk.IsOver(); };
  while (!std::all_of(talks.begin(), talks.end(), is_over)) Round(&talks, network);
  std::vector<Registration> results;
  results.reserve(talks.size());
  for (const CTalk& talk : talks) results.push_back(talk.Result());
  return results;
}

std::vector<Registration> unregister_on(const std::vector<in_addr>& scanners,
                                        const std::string& name, const Network& network) {
  CLIENTREGPARAM record = ThisComputer(nullptr, name.c_str());
  std::vector<CommandConversation> commands;
  std::vector<Question> questions;
  for (const in_addr scanner : scanners) {
    commands.emplace_back(RegistrationCommand(CMD_CLRG_UNREG, &record), 0, 1);
    questions.push_back(QuestionOf(scanner, commands.back()));
  }
  Show(network, "Unregistering", 0, scanners.size());
  const std::vector<Outcome> outcomes =
      ask_all(questions, Ends::kWithFirstAnswer, network.wait != 0 ? network.wait : kUnregisterWait,
              network.trace);
  std::vector<Registration> results;
  for (size_t i = 0; i < scanners.size(); ++i) {
    results.push_back(RemovalResult(scanners[i], outcomes[i], &commands[i]));
  }
  return results;
}

std::string result_text(const Registration& registration, bool registering,
                        const std::string& name) {
  char code[8];
  snprintf(code, sizeof(code), "%02X", static_cast<unsigned>(registration.code) & 0xFF);
  switch (registration.result) {
    case Result::kDone:
      if (!registering) return "told to forget this computer";
      return "registered as \"" + shown_text(name_on_scanners(name)) + "\"";
    case Result::kNotNow:
      return registering ? "not now, three times; try again later" : "not now; try again later";
    case Result::kRefused:
      return std::string("refused with the code ") + code;
    case Result::kSilent:
      return SilenceText(registration);
    case Result::kNotSent:
      return std::string("cannot be reached (") + strerror(registration.networkError) + ")";
  }
  return {};
}

std::string registered_name(const std::string& wanted) {
  char name[kHostnameSize];
  my_strlcpy(name, wanted.c_str(), sizeof(name));
  RepairHostName(name);
  // Nothing may be left of it; the host name then takes its place.
  if (name[0] == '\0') RepairHostName(name);
  return name;
}

std::string name_on_scanners(const std::string& name) { return name.substr(0, kShownName); }
