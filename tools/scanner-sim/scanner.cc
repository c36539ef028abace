// One simulated scanner: takes what it is asked and says what it sends, when and how often.
#include "tools/scanner-sim/scanner.h"

#include <utility>

namespace {

const char kSilence[] = ", stays silent";
const char kObeys[] = ", does so";

bool HasUsualLengths(const AnswerRules& rules) {
  for (const LengthForm& form : rules.lengthForms)
    if (form.style != LengthStyle::kShort) return false;
  return true;
}

std::string Listed(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) {
    if (!text.empty()) text += ", ";
    text += item;
  }
  return text;
}

// ", answers T55_E after 1500 ms, twice" and so on.
std::string AnswerAccount(const PlannedAnswer& answer, Ipv4 own_address) {
  std::string text = ", answers " + answer.text;
  if (answer.delay > 0) text += " after " + std::to_string(answer.delay) + " ms";
  if (answer.copies > 1) text += ", " + std::to_string(answer.copies) + " times";
  if (answer.from != own_address) text += ", from " + ipv4_text(answer.from);
  if (!answer.changes.empty()) text += " [" + Listed(answer.changes) + "]";
  return text;
}

}  // namespace

CScanner::CScanner(ScannerConfig config)
    : m_Config(std::move(config)),
      m_Agent(m_Config),
      m_List(m_Config.registered),
      m_Random(m_Config.seed) {}

Reaction CScanner::Take(const Understanding& understanding, size_t size) {
  Reaction reaction;
  reaction.account = understanding_text(understanding, size);
  if (understanding.snmp) TakeRequest(*understanding.snmp, &reaction);
  if (understanding.command) TakeCommand(*understanding.command, &reaction);
  if (!reaction.answer) reaction.account += reaction.obeys ? kObeys : kSilence;
  return reaction;
}

void CScanner::TakeRequest(const SnmpMessage& request, Reaction* reaction) {
  if (!m_Agent.Accepts(request)) return;
  const Question question = question_of(request);
  if (IsIgnored(question)) return;
  const AnswerRules& rules = m_Config.RulesFor(question);
  SnmpMessage message = m_Agent.Answer(request, rules);
  auto bytes = CSnmpAgent::Encode(request, rules, &message);
  if (!bytes) return;

  PlannedAnswer answer;
  answer.understood = message_json(message);
  answer.text = question == Question::kDiscovery && message.errorStatus == kNoError
                    ? "that it is one"
                    : answer_text(message);
  if (!HasUsualLengths(rules)) answer.changes.emplace_back("lengths in another form");
  Finish(question, std::move(*bytes), std::move(answer), reaction);
}

void CScanner::TakeCommand(const CommandPacket& command, Reaction* reaction) {
  if (command.command == kCommandRegister && !IsIgnored(Question::kRegister))
    ApplyRegister(command, reaction);
  if (command.command == kCommandUnregister && !IsIgnored(Question::kUnregister))
    ApplyUnregister(command, reaction);
}

void CScanner::ApplyRegister(const CommandPacket& command, Reaction* reaction) {
  const int code = NextReplyCode();
  if (code == kReplyAccepted) reaction->listChanged = m_List.Add(*command.computer);
  Reply(Question::kRegister, command, code, reaction);
}

void CScanner::ApplyUnregister(const CommandPacket& command, Reaction* reaction) {
  reaction->obeys = true;
  reaction->listChanged = m_List.Remove(command.computer->address);
  Reply(Question::kUnregister, command, m_Config.unregisterCode, reaction);
}

void CScanner::Reply(Question question, const CommandPacket& command, int code,
                     Reaction* reaction) {
  if (code == kNoReply) return;
  const bool wrong_sequence = NextSequenceIsWrong();
  const auto reply_code = static_cast<uint8_t>(code);
  const Bytes bytes = encode_reply(m_Config, command, reply_code, wrong_sequence);

  CommandPacket packet;
  packet.sequence = {bytes[12], bytes[13]};
  packet.category = bytes[14];
  packet.command = bytes[15];
  packet.length = bytes[16];
  packet.status = bytes[17];
  packet.data = m_Config.replyData;

  PlannedAnswer answer;
  answer.understood = command_json(packet);
  answer.text = reply_code_text(reply_code);
  if (wrong_sequence) answer.changes.emplace_back("wrong sequence bytes");
  Finish(question, bytes, std::move(answer), reaction);
}

bool CScanner::IsIgnored(Question question) {
  Progress& progress = m_Progress[static_cast<size_t>(question)];
  const AnswerRules& rules = m_Config.RulesFor(question);
  return rules.silent || progress.asked++ < rules.ignoreFirst;
}

// After the last code they start over, or the last one stays.
int CScanner::NextReplyCode() {
  const size_t count = m_Config.replyCodes.size();
  const size_t turn = m_iReplies++;
  const size_t index = m_Config.replyCodesCycle ? turn % count : std::min(turn, count - 1);
  return m_Config.replyCodes[index];
}

bool CScanner::NextSequenceIsWrong() {
  if (m_Config.wrongSequence == 0) return false;
  if (m_Config.wrongSequence != kAllReplies) --m_Config.wrongSequence;
  return true;
}

void CScanner::Finish(Question question, Bytes bytes, PlannedAnswer answer, Reaction* reaction) {
  const AnswerRules& rules = m_Config.RulesFor(question);
  const int turn = m_Progress[static_cast<size_t>(question)].answered++;
  answer.bytes = spoil(std::move(bytes), rules, turn, &m_Random, &answer.changes);
  answer.from = rules.from.value_or(m_Config.address);
  answer.delay = m_Random.Draw(rules.delay);
  answer.copies = rules.copies;
  answer.copyGap = rules.copyGap;
  reaction->account += AnswerAccount(answer, m_Config.address);
  reaction->answer = std::move(answer);
}
