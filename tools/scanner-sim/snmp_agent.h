// The SNMP side of a scanner: its objects and its answers, before anything is spoilt on purpose.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "tools/scanner-sim/scanner_config.h"
#include "tools/scanner-sim/snmp_message.h"

// The object of a question; empty for kOther and for the registration commands.
Oid question_object(Question question);

// Which question a request asks, by its PDU type and its first variable.
Question question_of(const SnmpMessage& request);

// What it asks, for people: "asked for its model".
std::string question_text(const SnmpMessage& request);

class CSnmpAgent {
 public:
  explicit CSnmpAgent(const ScannerConfig& config);

  // Whether the scanner answers this request at all: a GET or GET-NEXT of version 1 with its
  // community. RFC 1157 has an agent drop everything else without a word.
  bool Accepts(const SnmpMessage& request) const;

  // The answer to an accepted request, made by the rules for its question. A variable that is not
  // there gives noSuchName with its number as the error index, and the request's variables.
  SnmpMessage Answer(const SnmpMessage& request, const AnswerRules& rules) const;

  // The answer as bytes. One whose contents are too long for their length form becomes a tooBig
  // answer, as RFC 1157 section 4.1.2 has it; nothing when that is too long as well. *answer is
  // changed to what the bytes say.
  static std::optional<Bytes> Encode(const SnmpMessage& request, const AnswerRules& rules,
                                     SnmpMessage* answer);

  const std::map<Oid, SnmpValue>& Objects() const { return m_Objects; }

 private:
  // Puts the variables that answer the request's into the answer, or the error if one is missing.
  void LookUp(const SnmpMessage& request, SnmpMessage* answer) const;

  // The variable that answers a question for this name; nothing if there is none.
  std::optional<SnmpBinding> Find(uint8_t pdu, const Oid& name) const;

  std::string m_sCommunity;
  std::map<Oid, SnmpValue> m_Objects;
};

// An answer that cannot be written in the length form that it is to have.
struct Misfit {
  Question question = Question::kOther;
  Oid object;
  std::string problem;
};

// The first answer of a scanner that does not fit, with the community "public" and a request id of
// four bytes, the longest that are usual.
std::optional<Misfit> find_misfit(const ScannerConfig& config);
