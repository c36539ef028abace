// What Botan needs to encode and decode one message, with the options of Google Benchmark.
#include <benchmark/benchmark.h>
#include <botan/asn1_obj.h>
#include <botan/ber_dec.h>
#include <botan/der_enc.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench/heap_counter.h"
#include "bench/messages.h"

namespace {

constexpr auto kGetNext = Botan::ASN1_Tag(1);
constexpr auto kResponse = Botan::ASN1_Tag(2);
constexpr size_t kRequestId = 0x12345678;

struct Binding {
  Botan::OID name;
  std::vector<uint8_t> value;
  size_t number = 0;
};

struct Message {
  size_t version = 0;
  std::vector<uint8_t> community;
  size_t request_id = 0;
  size_t error_status = 0;
  size_t error_index = 0;
  std::vector<Binding> bindings;
};

// The record of a question for one object.
Message Question() {
  Message message;
  message.community = {'p', 'u', 'b', 'l', 'i', 'c'};
  message.request_id = kRequestId;
  message.bindings.push_back({Botan::OID({1, 3, 6, 1, 4, 1, 731, 405, 1, 1, 1, 3}), {}});
  return message;
}

std::vector<uint8_t> Encode(const Message& message) {
  std::vector<uint8_t> bytes;
  Botan::DER_Encoder encoder(bytes);
  encoder.start_cons(Botan::SEQUENCE)
      .encode(message.version)
      .encode(message.community, Botan::OCTET_STRING)
      .start_cons(kGetNext, Botan::CONTEXT_SPECIFIC)
      .encode(message.request_id)
      .encode(message.error_status)
      .encode(message.error_index)
      .start_cons(Botan::SEQUENCE);
  for (const Binding& binding : message.bindings) {
    encoder.start_cons(Botan::SEQUENCE).encode(binding.name).encode_null().end_cons();
  }
  encoder.end_cons().end_cons().end_cons();
  return bytes;
}

Message Decode(const Bytes& bytes) {
  Message message;
  Botan::BER_Decoder decoder(bytes.data(), bytes.size());
  Botan::BER_Decoder body = decoder.start_cons(Botan::SEQUENCE);
  body.decode(message.version).decode(message.community, Botan::OCTET_STRING);
  Botan::BER_Decoder pdu = body.start_cons(kResponse, Botan::CONTEXT_SPECIFIC);
  pdu.decode(message.request_id).decode(message.error_status).decode(message.error_index);
  Botan::BER_Decoder list = pdu.start_cons(Botan::SEQUENCE);
  while (list.more_items()) {
    Binding binding;
    list.start_cons(Botan::SEQUENCE)
        .decode(binding.name)
        .decode(binding.value, Botan::OCTET_STRING)
        .end_cons();
    message.bindings.push_back(binding);
  }
  return message;
}

template <typename Function>
void Time(benchmark::State& state, Function work) {
  work();
  const HeapUse before = TakenFromHeap();
  work();
  const HeapUse after = TakenFromHeap();
  for ([[maybe_unused]] auto again : state) work();
  state.counters["blocks"] = static_cast<double>(after.blocks - before.blocks);
  state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes);
}

void TimeDecoding(benchmark::State& state, const Bytes& bytes) {
  Time(state, [&] {
    const Message message = Decode(bytes);
    if (message.bindings.size() != 1) abort();
    benchmark::DoNotOptimize(message.request_id);
  });
}

void TimeEncoding(benchmark::State& state) {
  const Message question = Question();
  if (Encode(question) != DiscoveryRequest()) abort();
  Time(state, [&] { benchmark::DoNotOptimize(Encode(question)); });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RegisterBenchmark("encode", TimeEncoding);
  benchmark::RegisterBenchmark("short", TimeDecoding, ModelAnswer());
  benchmark::RegisterBenchmark("longest", TimeDecoding, LongestAnswer());
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
