#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace corvane {

/// Ends the run with what was violated; the fuzzer keeps the input.
inline void require(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// Reads a fuzzer's input as a row of choices, so that small changes of the bytes are small changes of what
/// is built from them. At its end every choice is 0.
class Choices {
public:
    Choices(const std::uint8_t *data, std::size_t size) : data(data), size(size) {}

    bool atEnd() const { return at == size; }
    std::uint8_t byte() { return at < size ? data[at++] : std::uint8_t{0}; }
    /// Below `limit`, which is at most 256.
    std::size_t below(std::size_t limit) { return byte() % limit; }
    bool yes() { return (byte() & 1U) != 0; }
    std::uint32_t word() {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8U | byte();
        return value;
    }
    std::int32_t number() { return static_cast<std::int32_t>(word()); }
    std::uint64_t longWord() { return std::uint64_t{word()} << 32U | word(); }
    /// Up to `longest` bytes.
    std::string text(std::size_t longest) {
        std::string result;
        for (auto count = below(longest + 1); count > 0; --count)
            result += static_cast<char>(byte());
        return result;
    }
    const std::uint8_t *rest() const { return data + at; }
    std::size_t restSize() const { return size - at; }

private:
    const std::uint8_t *data;
    std::size_t size;
    std::size_t at = 0;
};

} // namespace corvane
