#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace corvane {

/// One input channel of the console as it will become one recording track. Fixed once made, but for its
/// colour.
class LV1Channel {
public:
    LV1Channel(std::string name, bool stereo, std::string driver, std::int32_t inputIndex,
               std::string sourceType, std::int32_t sourceIndex, float red = 0.25F, float green = 0.55F,
               float blue = 0.85F)
        : red(red), green(green), blue(blue), channelName(std::move(name)), isStereo(stereo),
          driverName(std::move(driver)), input(inputIndex), source(std::move(sourceType)),
          sourceNumber(sourceIndex) {}

    const std::string &name() const { return channelName; }
    /// Two inputs instead of one.
    bool stereo() const { return isStereo; }
    /// The console's name of the device that feeds the channel.
    const std::string &driver() const { return driverName; }
    /// Zero-based number of the (first) input on that driver.
    std::int32_t inputIndex() const { return input; }
    /// The kind of console object; "Mixer_Ch" is a mixer input channel.
    const std::string &sourceType() const { return source; }
    /// The console's one-based number of that object.
    std::int32_t sourceIndex() const { return sourceNumber; }

    /// "Stereo" or "Mono".
    std::string format() const;
    /// The one-based input number or numbers: "10", or "5–6" for a stereo channel.
    std::string inputText() const;

    /// Colour components, 0 to 1.
    float red;
    float green;
    float blue;

    bool operator==(const LV1Channel &) const = default;

private:
    std::string channelName;
    bool isStereo;
    std::string driverName;
    std::int32_t input;
    std::string source;
    std::int32_t sourceNumber;
};

} // namespace corvane
