#include "bench/ConsoleMessages.h"

#include <benchmark/benchmark.h>

#include <lo/lo.h>
#include <oscpack/osc/OscOutboundPacketStream.h>
#include <oscpack/osc/OscReceivedElements.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

namespace corvane {
namespace {

OSCMessage messageOf(std::int64_t shape) {
    switch (shape) {
    case 0:
        return pingMessage();
    case 1:
        return colourMessage();
    default:
        return patchMessage(static_cast<int>(shape));
    }
}

void nameRow(benchmark::State &state, const OSCMessage &message) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(encoded(message).size()));
    state.SetLabel(std::to_string(encoded(message).size()) + " B");
}

// ---- encode

void encodeCorvane(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(OSCCodec::message(message.address, message.values));
    nameRow(state, message);
}

/// What nobody who returns owned bytes can do without.
void encodeNothing(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    const std::size_t size = encoded(message).size();
    for (auto _ : state)
        benchmark::DoNotOptimize(OSCCodec::Bytes(size));
    nameRow(state, message);
}

void encodeOscpack(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    std::vector<char> room(1 << 20U);
    for (auto _ : state) {
        osc::OutboundPacketStream stream(room.data(), room.size());
        stream << osc::BeginMessage(message.address.c_str());
        for (const auto &value : message.values) {
            if (const auto *number = std::get_if<std::int32_t>(&value))
                stream << osc::int32{*number};
            else if (const auto *real = std::get_if<float>(&value))
                stream << *real;
            else
                stream << std::get<std::string>(value).c_str();
        }
        stream << osc::EndMessage;
        // Owned bytes, as all others give.
        benchmark::DoNotOptimize(OSCCodec::Bytes(stream.Data(), stream.Data() + stream.Size()));
    }
    nameRow(state, message);
}

lo_message loMessage(const OSCMessage &message) {
    lo_message made = lo_message_new();
    for (const auto &value : message.values) {
        if (const auto *number = std::get_if<std::int32_t>(&value))
            lo_message_add_int32(made, *number);
        else if (const auto *real = std::get_if<float>(&value))
            lo_message_add_float(made, *real);
        else
            lo_message_add_string(made, std::get<std::string>(value).c_str());
    }
    return made;
}

void encodeLiblo(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    for (auto _ : state) {
        lo_message made = loMessage(message);
        std::size_t size = 0;
        void *bytes = lo_message_serialise(made, message.address.c_str(), nullptr, &size);
        benchmark::DoNotOptimize(bytes);
        std::free(bytes);
        lo_message_free(made);
    }
    nameRow(state, message);
}

// ---- parse to owned values

/// What somebody who uses another library fills: the standard library's containers.
struct PlainMessage {
    std::string address;
    std::vector<OSCValue> values;
};

void parseCorvane(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    const auto bytes = encoded(message);
    for (auto _ : state)
        benchmark::DoNotOptimize(OSCCodec::parse(bytes));
    nameRow(state, message);
}

void parseOscpack(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    const auto bytes = encoded(message);
    for (auto _ : state) {
        const osc::ReceivedPacket packet(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        const osc::ReceivedMessage received(packet);
        PlainMessage owned{received.AddressPattern(), {}};
        owned.values.reserve(received.ArgumentCount());
        for (auto argument = received.ArgumentsBegin(); argument != received.ArgumentsEnd(); ++argument) {
            if (argument->IsInt32())
                owned.values.emplace_back(static_cast<std::int32_t>(argument->AsInt32Unchecked()));
            else if (argument->IsFloat())
                owned.values.emplace_back(argument->AsFloatUnchecked());
            else
                owned.values.emplace_back(argument->AsStringUnchecked());
        }
        benchmark::DoNotOptimize(owned);
    }
    nameRow(state, message);
}

void parseLiblo(benchmark::State &state) {
    const auto message = messageOf(state.range(0));
    const auto bytes = encoded(message);
    auto copy = bytes;
    for (auto _ : state) {
        // The library turns the numbers about in place.
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        lo_message received = lo_message_deserialise(copy.data(), copy.size(), nullptr);
        const char *types = lo_message_get_types(received);
        lo_arg **arguments = lo_message_get_argv(received);
        const auto count = static_cast<std::size_t>(lo_message_get_argc(received));
        PlainMessage owned{reinterpret_cast<const char *>(copy.data()), {}};
        owned.values.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            if (types[i] == 'i')
                owned.values.emplace_back(arguments[i]->i);
            else if (types[i] == 'f')
                owned.values.emplace_back(arguments[i]->f);
            else
                owned.values.emplace_back(&arguments[i]->s);
        }
        benchmark::DoNotOptimize(owned);
        lo_message_free(received);
    }
    nameRow(state, message);
}

void shapes(benchmark::internal::Benchmark *rows) {
    for (const int shape : {0, 1, 64, 256, 1024})
        rows->Arg(shape);
}

BENCHMARK(encodeCorvane)->Apply(shapes);
BENCHMARK(encodeNothing)->Apply(shapes);
BENCHMARK(encodeOscpack)->Apply(shapes);
BENCHMARK(encodeLiblo)->Apply(shapes);
BENCHMARK(parseCorvane)->Apply(shapes);
BENCHMARK(parseOscpack)->Apply(shapes);
BENCHMARK(parseLiblo)->Apply(shapes);

// ---- framing

OSCCodec::Bytes frames(std::size_t count, const OSCCodec::Bytes &payload) {
    OSCCodec::Bytes stream;
    const auto frame = OSCCodec::frame(payload);
    for (std::size_t i = 0; i < count; ++i)
        stream.insert(stream.end(), frame.begin(), frame.end());
    return stream;
}

/// Payloads that the parser refuses at once, so that what remains is the framing.
OSCCodec::Bytes refused(std::size_t size) {
    return OSCCodec::Bytes(size, 'x');
}

/// Many frames in one read; the time of one frame beyond parsing must not depend on their number.
void framesInOneRead(benchmark::State &state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const auto stream = frames(count, refused(92));
    OSCCodec::Bytes buffer;
    buffer.reserve(stream.size());
    for (auto _ : state) {
        buffer.assign(stream.begin(), stream.end());
        benchmark::DoNotOptimize(OSCCodec::readFrames(buffer));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["ns/frame"] =
        benchmark::Counter(static_cast<double>(state.range(0)) * 1e-9,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// The same with messages that are read.
void messagesInOneRead(benchmark::State &state) {
    const auto stream = frames(1000, encoded(messageOf(state.range(0))));
    OSCCodec::Bytes buffer;
    buffer.reserve(stream.size());
    for (auto _ : state) {
        buffer.assign(stream.begin(), stream.end());
        benchmark::DoNotOptimize(OSCCodec::readFrames(buffer));
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void frameByteByByte(benchmark::State &state) {
    const auto stream = frames(1, encoded(colourMessage()));
    for (auto _ : state) {
        OSCCodec::Bytes buffer;
        for (const auto byte : stream) {
            buffer.push_back(byte);
            benchmark::DoNotOptimize(OSCCodec::readFrames(buffer));
        }
    }
    state.counters["ns/byte"] =
        benchmark::Counter(static_cast<double>(stream.size()) * 1e-9,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// The longest frame there is, in reads of 64 KiB.
void longestFrame(benchmark::State &state) {
    constexpr std::size_t readSize = 65536;
    const auto stream = frames(1, refused(1'999'999));
    for (auto _ : state) {
        OSCCodec::Bytes buffer;
        for (std::size_t at = 0; at < stream.size(); at += readSize) {
            const auto end = std::min(at + readSize, stream.size());
            buffer.insert(buffer.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                          stream.begin() + static_cast<std::ptrdiff_t>(end));
            benchmark::DoNotOptimize(OSCCodec::readFrames(buffer));
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

BENCHMARK(framesInOneRead)->Arg(10)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(messagesInOneRead)->Arg(0)->Arg(1);
BENCHMARK(frameByteByByte);
BENCHMARK(longestFrame)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace corvane

BENCHMARK_MAIN();
