// The SNMP side of a scanner: its objects and its answers, before anything is spoilt on purpose.
#include "tools/scanner-sim/snmp_agent.h"

namespace {

const Oid kSysDescr = {1, 3, 6, 1, 2, 1, 1, 1, 0};
const Oid kSysObjectId = {1, 3, 6, 1, 2, 1, 1, 2, 0};
const Oid kSysName = {1, 3, 6, 1, 2, 1, 1, 5, 0};
const Oid kIfPhysAddress = {1, 3, 6, 1, 2, 1, 2, 2, 1, 6, 1};
const Oid kMaker = {1, 3, 6, 1, 4, 1, 731};
const Oid kVendor = {1, 3, 6, 1, 4, 1, 731, 1, 2, 1, 1, 0};
const Oid kModel = {1, 3, 6, 1, 4, 1, 731, 1, 2, 1, 2, 0};
const Oid kDiscovery = {1, 3, 6, 1, 4, 1, 731, 405, 1, 1, 1, 3};

constexpr int64_t kLongestRequestId = INT32_MAX;

SnmpMessage UsualRequest(uint8_t pdu, const Oid& object) {
  SnmpMessage request;
  request.community = "public";
  request.pdu = pdu;
  request.requestId = kLongestRequestId;
  request.bindings.push_back({object, {}});
  return request;
}

std::optional<Misfit> FindMisfit(const CSnmpAgent& agent, const ScannerConfig& config, uint8_t pdu,
                                 const Oid& object) {
  const SnmpMessage request = UsualRequest(pdu, object);
  const Question question = question_of(request);
  const AnswerRules& rules = config.RulesFor(question);
  try {
    encode_message(agent.Answer(request, rules), rules.lengthForms);
  } catch (const LengthError& error) {
    return Misfit{question, object, error.what()};
  }
  return std::nullopt;
}

SnmpMessage AnswerHead(const SnmpMessage& request, const AnswerRules& rules) {
  SnmpMessage answer;
  answer.version = rules.version;
  answer.community = rules.community.value_or(request.community);
  answer.pdu = rules.pdu;
  answer.requestId = request.requestId;
  if (rules.requestIdKind == RequestIdKind::kWrong) answer.requestId ^= 1;
  if (rules.requestIdKind == RequestIdKind::kFixed) answer.requestId = rules.requestId;
  return answer;
}

std::vector<SnmpBinding> Repeated(const std::vector<SnmpBinding>& bindings, int times) {
  std::vector<SnmpBinding> result;
  for (int i = 0; i < times; ++i) result.insert(result.end(), bindings.begin(), bindings.end());
  return result;
}

}  // namespace

Oid question_object(Question question) {
  switch (question) {
    case Question::kDiscovery:
      return kDiscovery;
    case Question::kModel:
      return kModel;
    case Question::kVendor:
      return kVendor;
    case Question::kName:
      return kSysName;
    case Question::kMac:
      return kIfPhysAddress;
    default:
      return {};
  }
}

Question question_of(const SnmpMessage& request) {
  if (request.bindings.empty()) return Question::kOther;
  const Oid& name = request.bindings[0].name;
  if (request.pdu == kPduGetNext)
    return name == kDiscovery ? Question::kDiscovery : Question::kOther;
  if (request.pdu != kPduGet) return Question::kOther;
  for (Question question : {Question::kModel, Question::kVendor, Question::kName, Question::kMac})
    if (name == question_object(question)) return question;
  return Question::kOther;
}

std::string question_text(const SnmpMessage& request) {
  switch (question_of(request)) {
    case Question::kDiscovery:
      return "asked whether it is a scanner";
    case Question::kModel:
      return "asked for its model";
    case Question::kVendor:
      return "asked for its vendor";
    case Question::kName:
      return "asked for its name";
    case Question::kMac:
      return "asked for its hardware address";
    default:
      break;
  }
  if (request.bindings.empty()) return "asked for nothing";
  const std::string name = oid_text(request.bindings[0].name);
  if (request.pdu == kPduSet) return "asked to change " + name;
  return request.pdu == kPduGetNext ? "asked for the successor of " + name : "asked for " + name;
}

CSnmpAgent::CSnmpAgent(const ScannerConfig& config) : m_sCommunity(config.community) {
  const Mac mac = config.HardwareAddress();
  m_Objects[kSysDescr] = string_value("Network document scanner");
  m_Objects[kSysObjectId] = {kTagOid, oid_contents(kMaker)};
  m_Objects[kSysName] = string_value(config.name);
  m_Objects[kIfPhysAddress] = {kTagString, Bytes(mac.begin(), mac.end())};
  m_Objects[kVendor] = string_value(config.vendor);
  m_Objects[kModel] = string_value(config.model);
  m_Objects[config.successor] = config.successorValue;
  for (const auto& [oid, value] : config.objects) {
    if (value)
      m_Objects[oid] = *value;
    else
      m_Objects.erase(oid);
  }
}

bool CSnmpAgent::Accepts(const SnmpMessage& request) const {
  const bool asks = request.pdu == kPduGet || request.pdu == kPduGetNext;
  const bool known = m_sCommunity.empty() || request.community == m_sCommunity;
  return asks && known && request.version == 0;
}

std::optional<SnmpBinding> CSnmpAgent::Find(uint8_t pdu, const Oid& name) const {
  const auto found = pdu == kPduGetNext ? m_Objects.upper_bound(name) : m_Objects.find(name);
  if (found == m_Objects.end()) return std::nullopt;
  return SnmpBinding{found->first, found->second};
}

void CSnmpAgent::LookUp(const SnmpMessage& request, SnmpMessage* answer) const {
  std::vector<SnmpBinding> found;
  for (size_t i = 0; i < request.bindings.size(); ++i) {
    auto binding = Find(request.pdu, request.bindings[i].name);
    if (!binding) {
      answer->errorStatus = kNoSuchName;
      answer->errorIndex = static_cast<int64_t>(i) + 1;
      return;
    }
    found.push_back(std::move(*binding));
  }
  answer->bindings = std::move(found);
}

SnmpMessage CSnmpAgent::Answer(const SnmpMessage& request, const AnswerRules& rules) const {
  SnmpMessage answer = AnswerHead(request, rules);
  answer.bindings = request.bindings;
  if (rules.errorStatus == kNoError) {
    LookUp(request, &answer);
  } else {
    answer.errorStatus = rules.errorStatus;
    answer.errorIndex = 1;
  }
  if (rules.errorIndex) answer.errorIndex = *rules.errorIndex;
  answer.bindings = Repeated(answer.bindings, rules.bindingRepeats);
  return answer;
}

std::optional<Bytes> CSnmpAgent::Encode(const SnmpMessage& request, const AnswerRules& rules,
                                        SnmpMessage* answer) {
  try {
    return encode_message(*answer, rules.lengthForms);
  } catch (const LengthError&) {
    answer->errorStatus = kTooBig;
    answer->errorIndex = 0;
    answer->bindings = request.bindings;
  }
  try {
    return encode_message(*answer, rules.lengthForms);
  } catch (const LengthError&) {
    return std::nullopt;
  }
}

std::optional<Misfit> find_misfit(const ScannerConfig& config) {
  const CSnmpAgent agent(config);
  if (auto misfit = FindMisfit(agent, config, kPduGetNext, kDiscovery)) return misfit;
  for (const auto& object : agent.Objects())
    if (auto misfit = FindMisfit(agent, config, kPduGet, object.first)) return misfit;
  return std::nullopt;
}
