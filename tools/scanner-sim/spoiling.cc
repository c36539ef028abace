// Changes to the finished bytes of an answer, for scanners that are told to misbehave.
#include "tools/scanner-sim/spoiling.h"

#include <algorithm>

#include "tools/scanner-sim/bytes.h"

namespace {

using Changes = std::vector<std::string>;

void Replace(Bytes* bytes, const AnswerRules& rules, CRandom* random, Changes* changes) {
  if (rules.fixedAnswer) {
    *bytes = *rules.fixedAnswer;
    changes->push_back("fixed bytes");
  }
  if (rules.randomAnswer) {
    bytes->resize(static_cast<size_t>(random->Draw(*rules.randomAnswer)));
    for (uint8_t& byte : *bytes) byte = static_cast<uint8_t>(random->Draw(0, 255));
    changes->push_back("random bytes");
  }
}

void SetBytes(Bytes* bytes, const AnswerRules& rules, Changes* changes) {
  for (const auto& [offset, byte] : rules.setBytes) {
    if (offset >= bytes->size()) continue;
    (*bytes)[offset] = byte;
    changes->push_back("byte " + std::to_string(offset) + " set to " + to_hex({byte}));
  }
}

// The added number is from 1 to 255, so that the byte always gets another value.
void Corrupt(Bytes* bytes, const AnswerRules& rules, CRandom* random, Changes* changes) {
  if (bytes->empty()) return;
  for (int i = 0; i < rules.corrupt; ++i) {
    const int offset = random->Draw(0, static_cast<int>(bytes->size()) - 1);
    uint8_t& byte = (*bytes)[static_cast<size_t>(offset)];
    byte = static_cast<uint8_t>(byte + random->Draw(1, 255));
    changes->push_back("byte " + std::to_string(offset) + " corrupted to " + to_hex({byte}));
  }
}

void Lengthen(Bytes* bytes, const AnswerRules& rules, Changes* changes) {
  if (!rules.append.empty()) {
    bytes->insert(bytes->end(), rules.append.begin(), rules.append.end());
    changes->push_back(std::to_string(rules.append.size()) + " bytes appended");
  }
  const auto size = static_cast<size_t>(rules.padTo);
  if (bytes->size() < size) {
    bytes->resize(size);
    changes->push_back("padded to " + std::to_string(size) + " bytes");
  }
}

size_t KeptSize(size_t size, const AnswerRules& rules, int turn, CRandom* random) {
  const auto count = static_cast<size_t>(rules.cutCount);
  switch (rules.cut) {
    case CutKind::kKeep:
      return std::min(size, count);
    case CutKind::kDrop:
      return size - std::min(size, count);
    case CutKind::kRandom:
      return size == 0 ? 0 : static_cast<size_t>(random->Draw(0, static_cast<int>(size) - 1));
    case CutKind::kEach:
      return size == 0 ? 0 : static_cast<size_t>(turn) % size;
    case CutKind::kNone:
      break;
  }
  return size;
}

void Cut(Bytes* bytes, const AnswerRules& rules, int turn, CRandom* random, Changes* changes) {
  const size_t size = bytes->size();
  const size_t kept = KeptSize(size, rules, turn, random);
  if (kept == size) return;
  bytes->resize(kept);
  changes->push_back("cut to " + std::to_string(kept) + " of " + std::to_string(size) + " bytes");
}

}  // namespace

// A distribution of the standard library may differ from machine to machine, the engine does not.
int CRandom::Draw(int low, int high) {
  const uint64_t count = static_cast<uint64_t>(high) - static_cast<uint64_t>(low) + 1;
  return low + static_cast<int>(m_Engine() % count);
}

Bytes spoil(Bytes bytes, const AnswerRules& rules, int turn, CRandom* random, Changes* changes) {
  Replace(&bytes, rules, random, changes);
  SetBytes(&bytes, rules, changes);
  Corrupt(&bytes, rules, random, changes);
  Lengthen(&bytes, rules, changes);
  Cut(&bytes, rules, turn, random, changes);
  return bytes;
}
