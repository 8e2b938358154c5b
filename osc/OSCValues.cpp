#include "osc/OSCValues.h"

#include <stdexcept>
#include <type_traits>

namespace corvane {

static_assert(std::is_nothrow_move_constructible_v<OSCValue>, "values are moved where nothing may be thrown");

OSCValues::OSCValues(std::span<const OSCValue> list) : OSCValues() {
    reserve(list.size());
    for (const OSCValue &value : list)
        emplace_back(value);
}

std::size_t OSCValues::checked(std::size_t index) const {
    if (index >= count)
        throw std::out_of_range("OSCValues: no such value");
    return index;
}

void OSCValues::grow(std::size_t size) {
    OSCValue *const larger = std::allocator<OSCValue>().allocate(size);
    std::uninitialized_move_n(first, count, larger);
    const std::size_t kept = count;
    release();
    first = larger;
    count = kept;
    places = size;
}

OSCValue &OSCValues::growWith(OSCValue value) {
    grow(2 * places);
    return emplace_back(std::move(value));
}

/// Takes the values of another list; this one has none and uses its own room.
void OSCValues::take(OSCValues &other) noexcept {
    if (other.first == other.room) {
        std::uninitialized_move_n(other.first, other.count, first);
        count = other.count;
        other.release();
        return;
    }
    first = std::exchange(other.first, other.room);
    count = std::exchange(other.count, 0);
    places = std::exchange(other.places, roomSize);
}

} // namespace corvane
