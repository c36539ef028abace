// Everything that can be set about one simulated scanner.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/scanner-sim/addresses.h"
#include "tools/scanner-sim/snmp_message.h"

// What a scanner is asked. Each kind of question can have its own rules for the answer.
enum class Question {
  kDiscovery,   // GET-NEXT of the object that searches for scanners ask for
  kModel,       // GET of the model text
  kVendor,      // GET of the vendor text
  kName,        // GET of the system name
  kMac,         // GET of the hardware address
  kOther,       // any other GET or GET-NEXT
  kRegister,    // the command that puts a computer on the list
  kUnregister,  // the command that takes it off
};
constexpr size_t kQuestionCount = 8;

// "discovery", "model", "vendor", "name", "mac", "other", "register", "unregister".
const char* question_name(Question question);
std::optional<Question> parse_question(const std::string& text);
bool is_snmp_question(Question question);

// A number from the range is drawn for each use; one number is a range of one.
struct NumberRange {
  int low = 0;
  int high = 0;
};

// What is cut off the end of an answer.
enum class CutKind {
  kNone,
  kKeep,    // all but the first count bytes
  kDrop,    // the last count bytes
  kRandom,  // a random number of bytes, at least one
  kEach,    // the n-th answer keeps n bytes, from 0 up, and starts over at its full length
};

// Which request id an answer carries.
enum class RequestIdKind { kSame, kWrong, kFixed };

// How the answers to one kind of question are made and sent.
struct AnswerRules {
  bool silent = false;
  int ignoreFirst = 0;  // so many questions stay without an answer
  NumberRange delay;    // milliseconds
  int copies = 1;
  int copyGap = 0;  // milliseconds between copies
  std::optional<Ipv4> from;

  // SNMP only.
  int errorStatus = kNoError;
  std::optional<int> errorIndex;
  LengthForms lengthForms = {};
  int version = 0;
  std::optional<std::string> community;  // nothing: the request's
  RequestIdKind requestIdKind = RequestIdKind::kSame;
  int32_t requestId = 0;  // for kFixed
  uint8_t pdu = kPduResponse;
  int bindingRepeats = 1;  // how many times the bindings are in the answer

  // Changes to the finished bytes.
  std::optional<Bytes> fixedAnswer;
  std::optional<NumberRange> randomAnswer;  // length
  std::vector<std::pair<size_t, uint8_t>> setBytes;
  int corrupt = 0;  // so many random bytes get another value
  Bytes append;
  int padTo = 0;
  CutKind cut = CutKind::kNone;
  int cutCount = 0;
};

// A computer on a scanner's list.
struct Computer {
  std::string name;
  Ipv4 address = 0;
  Mac mac = {};
};

bool operator==(const Computer& a, const Computer& b);

// "desk-42 (10.77.0.10, 02:56:44:56:58:10)".
std::string computer_text(const Computer& computer);

// A reply code that stands for no reply at all.
constexpr int kNoReply = -1;

// All replies carry wrong sequence bytes.
constexpr int kAllReplies = -1;

struct ScannerConfig {
  std::string label;  // for messages and logs
  Ipv4 address = 0;

  std::string name;
  std::string model;
  std::string vendor = "Veltrana";
  std::optional<Mac> mac;  // nothing: one that is made from the address
  Oid successor = {1, 3, 6, 1, 4, 1, 731, 405, 1, 1, 1, 3, 1, 0};
  SnmpValue successorValue = {kTagInteger, {1}};
  // Further objects, or other values for the usual ones; nothing takes the object away.
  std::map<Oid, std::optional<SnmpValue>> objects;
  std::string community = "public";  // empty: any

  std::vector<int> replyCodes = {0xC4};
  bool replyCodesCycle = false;
  int wrongSequence = 0;  // so many replies, or kAllReplies
  Bytes replyData;
  std::optional<int> replyLength;  // the length byte, if not that of the data
  std::string replySignature = "MFPP0200ML01";
  uint8_t replyCategory = 0x31;
  uint8_t replyStatus = 0;
  int unregisterCode = kNoReply;
  std::vector<Computer> registered;

  uint32_t seed = 1;
  std::array<AnswerRules, kQuestionCount> rules;

  Mac HardwareAddress() const;

  AnswerRules& RulesFor(Question question) { return rules[static_cast<size_t>(question)]; }
  const AnswerRules& RulesFor(Question question) const {
    return rules[static_cast<size_t>(question)];
  }
};

// The plausible scanner with this number (1, 2, ...), still without an address: six offices, then
// the same again with "-2", "-3" and so on after their names.
ScannerConfig usual_scanner(int number);
