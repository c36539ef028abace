// Changes to the finished bytes of an answer, for scanners that are told to misbehave.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tools/scanner-sim/scanner_config.h"

// Random numbers that are the same in every run with the same seed, on every machine.
class CRandom {
 public:
  explicit CRandom(uint32_t seed) : m_Engine(seed) {}

  // A number from low to high, both included.
  int Draw(int low, int high);
  int Draw(const NumberRange& range) { return Draw(range.low, range.high); }

 private:
  std::mt19937 m_Engine;
};

// Makes the bytes that are sent instead of the answer: replaced, then single bytes set, corrupted,
// appended to, padded and cut, each as far as the rules say so. turn counts the answers to this
// kind of question from 0. Every change is described in *changes.
Bytes spoil(Bytes bytes, const AnswerRules& rules, int turn, CRandom* random,
            std::vector<std::string>* changes);
