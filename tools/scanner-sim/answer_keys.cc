// The keys about the answers to the questions that a scanner is asked.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "tools/scanner-sim/key_rows.h"
#include "tools/scanner-sim/text.h"

namespace {

constexpr int kLongestDelay = 3600000;
constexpr int kMostCopies = 100000;

Problem SetSilent(AnswerRules* rules, const std::string& text) {
  return read_yes_no(text, &rules->silent);
}

Problem SetIgnoreFirst(AnswerRules* rules, const std::string& text) {
  return read_number(text, 0, INT_MAX, &rules->ignoreFirst);
}

Problem SetDelay(AnswerRules* rules, const std::string& text) {
  return read_range(text, kLongestDelay, &rules->delay);
}

Problem SetCopies(AnswerRules* rules, const std::string& text) {
  return read_number(text, 1, kMostCopies, &rules->copies);
}

Problem SetCopyGap(AnswerRules* rules, const std::string& text) {
  return read_number(text, 0, kLongestDelay, &rules->copyGap);
}

Problem SetAnswerFrom(AnswerRules* rules, const std::string& text) {
  Ipv4 address = 0;
  Problem problem = read_address(text, &address);
  if (problem.empty()) rules->from = address;
  return problem;
}

Problem SetErrorStatus(AnswerRules* rules, const std::string& text) {
  return read_number(text, INT_MIN, INT_MAX, &rules->errorStatus);
}

Problem SetErrorIndex(AnswerRules* rules, const std::string& text) {
  int index = 0;
  Problem problem = read_number(text, INT_MIN, INT_MAX, &index);
  if (problem.empty()) rules->errorIndex = index;
  return problem;
}

// "long1" for all elements, or words like "binding:long1 message:byte80".
Problem SetLengthForm(AnswerRules* rules, const std::string& text) {
  LengthForms forms = {};
  for (const std::string& word : split_words(text)) {
    const size_t colon = word.find(':');
    const std::string form_text = colon == std::string::npos ? word : word.substr(colon + 1);
    const auto form = parse_length_form(form_text);
    if (!form)
      return quoted(form_text) +
             " is not a length form (short, minimal, long1 to long8, left5 to left8, byte00 to "
             "byteff)";
    if (colon == std::string::npos) {
      forms.fill(*form);
      continue;
    }
    const auto element = parse_element(word.substr(0, colon));
    if (!element) return quoted(word.substr(0, colon)) + " is not an element of an answer";
    forms[static_cast<size_t>(*element)] = *form;
  }
  rules->lengthForms = forms;
  return "";
}

Problem SetAnswerVersion(AnswerRules* rules, const std::string& text) {
  return read_number(text, INT_MIN, INT_MAX, &rules->version);
}

Problem SetAnswerCommunity(AnswerRules* rules, const std::string& text) {
  rules->community = text;
  return "";
}

Problem SetAnswerRequestId(AnswerRules* rules, const std::string& text) {
  const std::string word = trimmed(text);
  int id = 0;
  if (word == "same") {
    rules->requestIdKind = RequestIdKind::kSame;
  } else if (word == "wrong") {
    rules->requestIdKind = RequestIdKind::kWrong;
  } else if (read_number(word, INT_MIN, INT_MAX, &id).empty()) {
    rules->requestIdKind = RequestIdKind::kFixed;
    rules->requestId = id;
  } else {
    return quoted(text) + " is neither same, wrong nor a number of 32 bits";
  }
  return "";
}

Problem SetAnswerPdu(AnswerRules* rules, const std::string& text) {
  return read_hex_byte(text, &rules->pdu);
}

Problem SetAnswerBindings(AnswerRules* rules, const std::string& text) {
  return read_number(text, 0, 1000, &rules->bindingRepeats);
}

Problem SetFixedAnswer(AnswerRules* rules, const std::string& text) {
  Bytes bytes;
  Problem problem = read_hex(text, &bytes);
  if (problem.empty()) rules->fixedAnswer = std::move(bytes);
  return problem;
}

Problem SetRandomAnswer(AnswerRules* rules, const std::string& text) {
  NumberRange range;
  Problem problem = read_range(text, kLargestDatagram, &range);
  if (problem.empty()) rules->randomAnswer = range;
  return problem;
}

// "24:1f" sets the byte at offset 24.
Problem SetSetByte(AnswerRules* rules, const std::string& text) {
  std::vector<std::pair<size_t, uint8_t>> bytes;
  for (const std::string& word : split_words(text)) {
    const size_t colon = std::min(word.find(':'), word.size());
    const auto offset = parse_number(word.substr(0, colon), 0, kLargestDatagram - 1);
    const auto byte = parse_hex_byte(word.substr(std::min(colon + 1, word.size())));
    if (!offset || !byte) return quoted(word) + " is not OFFSET:BYTE, for instance 24:1f";
    bytes.emplace_back(static_cast<size_t>(*offset), static_cast<uint8_t>(*byte));
  }
  rules->setBytes = bytes;
  return "";
}

Problem SetCorrupt(AnswerRules* rules, const std::string& text) {
  return read_number(text, 0, kLargestDatagram, &rules->corrupt);
}

Problem SetAppend(AnswerRules* rules, const std::string& text) {
  return read_hex(text, &rules->append);
}

Problem SetPadTo(AnswerRules* rules, const std::string& text) {
  return read_number(text, 0, kLargestDatagram, &rules->padTo);
}

Problem SetCut(AnswerRules* rules, const std::string& text) {
  const std::string word = trimmed(text);
  int count = 0;
  if (word == "no") {
    rules->cut = CutKind::kNone;
  } else if (word == "random") {
    rules->cut = CutKind::kRandom;
  } else if (word == "each") {
    rules->cut = CutKind::kEach;
  } else if (read_number(word, -kLargestDatagram, kLargestDatagram, &count).empty()) {
    rules->cut = count < 0 || word[0] == '-' ? CutKind::kDrop : CutKind::kKeep;
    rules->cutCount = std::abs(count);
  } else {
    return quoted(text) + " is neither no, random, each nor a number of bytes";
  }
  return "";
}

}  // namespace

const std::vector<KeyRow>& answer_keys() {
  static const std::vector<KeyRow> kRows = {
      {"silent", KeyScope::kAnswer, nullptr, SetSilent, "yes|no", "gives no answer"},
      {"ignore_first", KeyScope::kAnswer, nullptr, SetIgnoreFirst, "N",
       "gives no answer to the first N questions"},
      {"delay", KeyScope::kAnswer, nullptr, SetDelay, "MS|MS-MS",
       "milliseconds before the answer; a random number of them between two limits"},
      {"copies", KeyScope::kAnswer, nullptr, SetCopies, "N", "sends each answer N times"},
      {"copy_gap", KeyScope::kAnswer, nullptr, SetCopyGap, "MS", "milliseconds between the copies"},
      {"answer_from", KeyScope::kAnswer, nullptr, SetAnswerFrom, "A.B.C.D",
       "answers from this address instead of its own"},
      {"fixed_answer", KeyScope::kAnswer, nullptr, SetFixedAnswer, "BYTES",
       "sends these bytes instead of the answer; none for an empty datagram"},
      {"random_answer", KeyScope::kAnswer, nullptr, SetRandomAnswer, "N|N-N",
       "sends random bytes instead, so many"},
      {"set_byte", KeyScope::kAnswer, nullptr, SetSetByte, "OFFSET:XX ...",
       "changes these bytes of the answer"},
      {"corrupt", KeyScope::kAnswer, nullptr, SetCorrupt, "N", "changes N random bytes"},
      {"append", KeyScope::kAnswer, nullptr, SetAppend, "BYTES", "adds these bytes at the end"},
      {"pad_to", KeyScope::kAnswer, nullptr, SetPadTo, "N", "adds zero bytes up to this size"},
      {"cut", KeyScope::kAnswer, nullptr, SetCut, "N|-N|random|each|no",
       "sends only the first N bytes; leaves the last N away; a random number; each: first no "
       "byte, "
       "then one, then two and so on from answer to answer"},

      {"error_status", KeyScope::kSnmpAnswer, nullptr, SetErrorStatus, "N",
       "answers with this error status, for instance 2 (no such name) or 5 (general error)"},
      {"error_index", KeyScope::kSnmpAnswer, nullptr, SetErrorIndex, "N",
       "answers with this error index"},
      {"length_form", KeyScope::kSnmpAnswer, nullptr, SetLengthForm, "FORM | ELEMENT:FORM ...",
       "how the lengths in the answer are written"},
      {"answer_version", KeyScope::kSnmpAnswer, nullptr, SetAnswerVersion, "N",
       "the version number in the answer (0)"},
      {"answer_community", KeyScope::kSnmpAnswer, nullptr, SetAnswerCommunity, "TEXT",
       "the community in the answer (the request's)"},
      {"answer_request_id", KeyScope::kSnmpAnswer, nullptr, SetAnswerRequestId, "same|wrong|N",
       "the request id in the answer"},
      {"answer_pdu", KeyScope::kSnmpAnswer, nullptr, SetAnswerPdu, "XX",
       "the PDU tag of the answer (A2)"},
      {"answer_bindings", KeyScope::kSnmpAnswer, nullptr, SetAnswerBindings, "N",
       "how many times the variables are in the answer; 0 for an empty list"},
  };
  return kRows;
}
