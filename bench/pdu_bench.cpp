// SPDX-License-Identifier: GPL-3.0-or-later
// Throughput of the PDU codec in PDUs per second (items_per_second), for a full 160-character
// message and a short one.
//
//   Decode            DecodePdu alone, on the octets the phone lists.
//   DecodeAndApply    DecodePdu and ApplyPduRecord: number, text and time of the message.
//   Encode            EncodePdu alone, on a prepared SMS-SUBMIT record.
//   PrepareSubmit     the whole send-side preparation: fresh record, alphabet look-up of every
//                     character, packing, copy into the message.
//
// With the Unicode and long-message options (items are parts):
//   DecodeUcs2        DecodePdu and ApplyPduRecord of a 70-character UCS2 message (Cyrillic
//                     and emoji) with the Unicode reading.
//   EncodeUcs2        PrepareSubmitPart of the same text: measure, UCS2, encoding.
//   DecodeLong10      the ten parts of a 1530-character message decoded and applied, and their
//                     concatenation headers read.
//   EncodeLong10      EncodeSubmitParts of that message: ten PDUs with their headers.
//
// allocs_per_op is the number of heap allocations of one operation, counted over kCountedRuns
// runs after the timed loop (allocation_counter.h), so that counting does not touch the timing.
// Decode, DecodeAndApply and Encode work in records and messages made beforehand and must show
// 0; PrepareSubmit shows 1, the fresh record it gives the message.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "allocation_counter.h"
#include "pdu/concatenation.h"
#include "pdu/deliver.h"
#include "pdu/gsm_alphabet.h"
#include "pdu/submit.h"
#include "pdu/submit_parts.h"

namespace {

constexpr int kCountedRuns = 100;

// Heap allocations per run of `operation`, as the counter reported in allocs_per_op.
template <typename Operation>
void CountAllocations(benchmark::State& state, Operation&& operation) {
    if (!allocations::CountingAvailable()) return;
    const std::uint64_t count = allocations::During([&] {
        for (int k = 0; k < kCountedRuns; ++k) operation();
    });
    state.counters["allocs_per_op"] = benchmark::Counter(static_cast<double>(count) / kCountedRuns);
}

// A typical message: plain text with spaces and punctuation, as users write it.
std::u16string SampleText(std::size_t length) {
    static const char16_t kWords[] =
        u"Meet you at the station at 7, the train from Hamburg is late again. Bring the tickets "
        u"and some cash for the taxi! See you soon, Anna. P.S. Don't forget the umbrella: rain?";
    std::u16string text;
    while (text.size() < length) text.push_back(kWords[text.size() % (sizeof kWords / 2 - 1)]);
    return text;
}

SmsMessage SampleMessage(std::size_t length) {
    SmsMessage m;
    m.number = u"+4930123456";
    m.text = SampleText(length);
    return m;
}

// The message as the phone would list it: an SMS-DELIVER from the same number, with a stamp.
std::vector<std::uint8_t> SampleDeliver(std::size_t length) {
    SmsMessage m = SampleMessage(length);
    if (PrepareSubmit(&m) != 1) return {};
    PduRecord* r = m.pduRecord.get();
    r->firstOctet = 0x04;
    r->timeStamp = {2003, 11, 15, 9, 30, 5, 60};
    if (EncodePdu(r) != kErrNone) return {};
    return std::vector<std::uint8_t>(r->encoded, r->encoded + r->encodedLength);
}

void BM_Decode(benchmark::State& state) {
    const auto bytes = SampleDeliver(static_cast<std::size_t>(state.range(0)));
    const auto tpdu = static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
    PduRecordPtr record(NewPduRecord());
    for (auto _ : state) {
        TransferError err =
            DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()), tpdu);
        benchmark::DoNotOptimize(err);
        benchmark::ClobberMemory();
    }
    CountAllocations(state, [&] {
        benchmark::DoNotOptimize(
            DecodePdu(record.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()), tpdu));
    });
    if (record->userDataLength != static_cast<std::uint32_t>(state.range(0))) {
        state.SkipWithError("wrong decode");
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_DecodeAndApply(benchmark::State& state) {
    const auto bytes = SampleDeliver(static_cast<std::size_t>(state.range(0)));
    const auto tpdu = static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    for (auto _ : state) {
        TransferError err = DecodePdu(message.pduRecord.get(), bytes.data(),
                                      static_cast<std::uint32_t>(bytes.size()), tpdu);
        benchmark::DoNotOptimize(err);
        ApplyPduRecord(&message);
        benchmark::DoNotOptimize(message.text.data());
    }
    CountAllocations(state, [&] {
        benchmark::DoNotOptimize(DecodePdu(message.pduRecord.get(), bytes.data(),
                                           static_cast<std::uint32_t>(bytes.size()), tpdu));
        ApplyPduRecord(&message);
        benchmark::DoNotOptimize(message.text.data());
    });
    if (message.text != SampleText(static_cast<std::size_t>(state.range(0)))) {
        state.SkipWithError("wrong text");
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_Encode(benchmark::State& state) {
    SmsMessage m = SampleMessage(static_cast<std::size_t>(state.range(0)));
    if (PrepareSubmit(&m) != 1) {
        state.SkipWithError("prepare failed");
        return;
    }
    for (auto _ : state) {
        TransferError err = EncodePdu(m.pduRecord.get());
        benchmark::DoNotOptimize(err);
        benchmark::ClobberMemory();
    }
    CountAllocations(state, [&] { benchmark::DoNotOptimize(EncodePdu(m.pduRecord.get())); });
    state.SetItemsProcessed(state.iterations());
}

void BM_PrepareSubmit(benchmark::State& state) {
    SmsMessage m = SampleMessage(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        int ok = PrepareSubmit(&m);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(m.pdu.data());
    }
    CountAllocations(state, [&] {
        benchmark::DoNotOptimize(PrepareSubmit(&m));
        benchmark::DoNotOptimize(m.pdu.data());
    });
    if (m.codecResult != kErrNone) state.SkipWithError("prepare failed");
    state.SetItemsProcessed(state.iterations());
}

constexpr CodecOptions kBoth{true, true};

std::u16string Ucs2Text() {
    std::u16string text;
    while (text.size() < 68) text += u"Привет ";
    text.resize(68);
    return text + u"😀";  // 70 units
}

// The PDUs of `m` as SMS-DELIVERs with a stamp, as the phone would list them.
std::vector<std::vector<std::uint8_t>> DeliverParts(SmsMessage& m) {
    std::vector<std::vector<std::uint8_t>> out;
    const std::uint32_t parts = SubmitPartCount(m, kBoth);
    for (std::uint32_t k = 0; k < parts; ++k) {
        if (PrepareSubmitPart(&m, kBoth, 42, k) != 1) return {};
        PduRecord* r = m.pduRecord.get();
        r->firstOctet = static_cast<std::uint8_t>(0x04 | (r->firstOctet & 0x40));
        r->timeStamp = {2003, 11, 15, 9, 30, 5, 60};
        if (EncodePdu(r) != kErrNone) return {};
        out.emplace_back(r->encoded, r->encoded + r->encodedLength);
    }
    return out;
}

// Decodes and applies every part; returns the joined text.
void DecodeParts(const std::vector<std::vector<std::uint8_t>>& parts, SmsMessage* message,
                 std::u16string* joined) {
    joined->clear();
    for (const auto& bytes : parts) {
        const auto tpdu = static_cast<std::uint32_t>(bytes.size() - 1 - bytes[0]);
        TransferError err = DecodePdu(message->pduRecord.get(), bytes.data(),
                                      static_cast<std::uint32_t>(bytes.size()), tpdu, kBoth);
        benchmark::DoNotOptimize(err);
        ConcatenationInfo info;
        benchmark::DoNotOptimize(ReadConcatenation(message->pduRecord.get(), &info));
        ApplyPduRecord(message);
        joined->append(message->text);
    }
}

void BM_DecodeUcs2(benchmark::State& state) {
    SmsMessage m = SampleMessage(0);
    m.text = Ucs2Text();
    const auto parts = DeliverParts(m);
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    std::u16string joined;
    for (auto _ : state) {
        DecodeParts(parts, &message, &joined);
        benchmark::DoNotOptimize(joined.data());
    }
    if (parts.size() != 1 || joined != Ucs2Text()) state.SkipWithError("wrong text");
    state.SetItemsProcessed(state.iterations());
}

void BM_EncodeUcs2(benchmark::State& state) {
    SmsMessage m = SampleMessage(0);
    m.text = Ucs2Text();
    for (auto _ : state) {
        int ok = PrepareSubmitPart(&m, kBoth, 42, 0);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(m.pdu.data());
    }
    if (m.codecResult != kErrNone || m.pduRecord->dcs != 0x08) state.SkipWithError("not UCS2");
    state.SetItemsProcessed(state.iterations());
}

void BM_DecodeLong10(benchmark::State& state) {
    SmsMessage m = SampleMessage(1530);
    const std::u16string text = m.text;
    const auto parts = DeliverParts(m);
    SmsMessage message;
    message.pduRecord.reset(NewPduRecord());
    std::u16string joined;
    for (auto _ : state) {
        DecodeParts(parts, &message, &joined);
        benchmark::DoNotOptimize(joined.data());
    }
    if (parts.size() != 10 || joined != text) state.SkipWithError("wrong text");
    state.SetItemsProcessed(state.iterations() * 10);
}

void BM_EncodeLong10(benchmark::State& state) {
    const SmsMessage m = SampleMessage(1530);
    std::vector<PartPdu> parts;
    for (auto _ : state) {
        TransferError err = EncodeSubmitParts(m, kBoth, 42, u"", false, &parts);
        benchmark::DoNotOptimize(err);
        benchmark::DoNotOptimize(parts.data());
    }
    if (parts.size() != 10) state.SkipWithError("not ten parts");
    state.SetItemsProcessed(state.iterations() * 10);
}

}  // namespace

// Argument: characters of text (a full message, and a short one).
BENCHMARK(BM_Decode)->Arg(160)->Arg(12);
BENCHMARK(BM_DecodeAndApply)->Arg(160)->Arg(12);
BENCHMARK(BM_Encode)->Arg(160)->Arg(12);
BENCHMARK(BM_PrepareSubmit)->Arg(160)->Arg(12);
BENCHMARK(BM_DecodeUcs2);
BENCHMARK(BM_EncodeUcs2);
BENCHMARK(BM_DecodeLong10);
BENCHMARK(BM_EncodeLong10);

BENCHMARK_MAIN();
