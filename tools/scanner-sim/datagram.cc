// What a datagram says: decoded, as JSON for the log and in words for people.
#include "tools/scanner-sim/datagram.h"

#include "tools/scanner-sim/json.h"
#include "tools/scanner-sim/snmp_agent.h"

namespace {

std::string PduName(uint8_t pdu) {
  switch (pdu) {
    case kPduGet:
      return "get";
    case kPduGetNext:
      return "get-next";
    case kPduResponse:
      return "response";
    case kPduSet:
      return "set";
    default:
      return to_hex({pdu});
  }
}

std::string TypeName(uint8_t tag) {
  switch (tag) {
    case kTagInteger:
      return "integer";
    case kTagString:
      return "string";
    case kTagNull:
      return "null";
    case kTagOid:
      return "oid";
    case kTagAddress:
      return "address";
    case kTagCounter:
      return "counter";
    case kTagGauge:
      return "gauge";
    case kTagTicks:
      return "ticks";
    case kTagOpaque:
      return "opaque";
    default:
      return to_hex({tag});
  }
}

std::string CommandName(uint8_t command) {
  switch (command) {
    case kCommandRegister:
      return "register";
    case kCommandUnregister:
      return "unregister";
    case kReplyAccepted:
      return "accepted";
    case kReplyNotNow:
      return "not now";
    default:
      return "unknown";
  }
}

std::string ErrorName(int64_t status) {
  static const char* const kNames[] = {"",          "too big",   "no such name",
                                       "bad value", "read only", "general error"};
  const bool named = status > 0 && status < static_cast<int64_t>(sizeof kNames / sizeof kNames[0]);
  return named ? std::string(" (") + kNames[status] + ")" : "";
}

std::string BindingJson(const SnmpBinding& binding) {
  return CJsonObject()
      .Text("object", oid_text(binding.name))
      .Text("type", TypeName(binding.value.tag))
      .Text("value", value_text(binding.value))
      .Str();
}

}  // namespace

const char* protocol_name(Protocol protocol) {
  return protocol == Protocol::kSnmp ? "snmp" : "registration";
}

Understanding understand(Protocol protocol, const Bytes& bytes) {
  Understanding result;
  try {
    if (protocol == Protocol::kSnmp)
      result.snmp = decode_message(bytes);
    else
      result.command = decode_command(bytes);
  } catch (const BerError& error) {
    result.problem = error.what();
  } catch (const PacketError& error) {
    result.problem = error.what();
  }
  return result;
}

std::string computer_json(const Computer& computer) {
  return CJsonObject()
      .Text("name", computer.name)
      .Text("address", ipv4_text(computer.address))
      .Text("mac", mac_text(computer.mac))
      .Str();
}

std::string message_json(const SnmpMessage& message) {
  std::vector<std::string> variables;
  for (const SnmpBinding& binding : message.bindings) variables.push_back(BindingJson(binding));
  CJsonObject json;
  json.Text("pdu", PduName(message.pdu))
      .Number("version", message.version)
      .Text("community", message.community)
      .Number("request_id", message.requestId)
      .Number("error_status", message.errorStatus)
      .Number("error_index", message.errorIndex)
      .Json("variables", json_array(variables));
  if (message.pdu == kPduGet || message.pdu == kPduGetNext)
    json.Text("question", question_name(question_of(message)));
  return json.Json("remarks", json_texts(message.remarks)).Str();
}

std::string command_json(const CommandPacket& packet) {
  CJsonObject json;
  json.Number("command", packet.command)
      .Text("meaning", CommandName(packet.command))
      .Number("category", packet.category)
      .Number("status", packet.status)
      .Number("length", packet.length)
      .Text("sequence", to_hex({packet.sequence[0], packet.sequence[1]}))
      .Text("data", to_hex(packet.data));
  if (packet.computer) json.Json("computer", computer_json(*packet.computer));
  return json.Json("remarks", json_texts(packet.remarks)).Str();
}

std::string understanding_json(const Understanding& understanding) {
  if (understanding.snmp) return message_json(*understanding.snmp);
  if (understanding.command) return command_json(*understanding.command);
  return "null";
}

std::string understanding_text(const Understanding& understanding, size_t size) {
  if (understanding.snmp) return question_text(*understanding.snmp);
  if (understanding.command) return command_text(*understanding.command);
  return "got " + std::to_string(size) + " bytes that it does not understand (" +
         understanding.problem + ")";
}

std::string answer_text(const SnmpMessage& answer) {
  if (answer.errorStatus != kNoError)
    return "error " + std::to_string(answer.errorStatus) + ErrorName(answer.errorStatus);
  std::string text;
  for (const SnmpBinding& binding : answer.bindings) {
    if (!text.empty()) text += ", ";
    text += value_text(binding.value);
  }
  return text.empty() ? "nothing" : text;
}
