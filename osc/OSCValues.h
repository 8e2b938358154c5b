#pragma once

#include "osc/OSCValue.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>
#include <utility>

namespace corvane {

/// A message's arguments in order: a vector whose first six values stand in the list itself, so that what a
/// console says all the time (pings, colours) takes no memory of its own. Growing and moving a list
/// invalidate references and iterators; one that was moved from is empty.
class OSCValues {
public:
    using value_type = OSCValue;
    using iterator = OSCValue *;
    using const_iterator = const OSCValue *;

    OSCValues() noexcept : first(room) {} // and the room stays as it is
    OSCValues(std::initializer_list<OSCValue> list) : OSCValues(std::span(list.begin(), list.size())) {}
    explicit OSCValues(std::span<const OSCValue> list);
    OSCValues(const OSCValues &other) : OSCValues(std::span(other.begin(), other.size())) {}
    OSCValues(OSCValues &&other) noexcept : OSCValues() { take(other); }
    OSCValues &operator=(OSCValues other) noexcept {
        release();
        take(other);
        return *this;
    }
    ~OSCValues() { release(); }

    bool empty() const { return count == 0; }
    std::size_t size() const { return count; }
    std::size_t capacity() const { return places; }
    OSCValue *data() { return first; }
    const OSCValue *data() const { return first; }
    iterator begin() { return first; }
    iterator end() { return first + count; }
    const_iterator begin() const { return first; }
    const_iterator end() const { return first + count; }

    /// The value of an index, which is looked at as the standard library's containers do.
    OSCValue &operator[](std::size_t index) { return std::span(*this)[index]; }
    const OSCValue &operator[](std::size_t index) const { return std::span(*this)[index]; }
    /// As above; std::out_of_range when there is no such value.
    OSCValue &at(std::size_t index) { return first[checked(index)]; }
    const OSCValue &at(std::size_t index) const { return first[checked(index)]; }
    OSCValue &front() { return (*this)[0]; }
    const OSCValue &front() const { return (*this)[0]; }

    /// Makes room for `size` values in all.
    void reserve(std::size_t size) {
        if (size > places)
            grow(size);
    }
    /// Appends a value made of the arguments, which may be values of this list.
    template <class... Arguments>
    OSCValue &emplace_back(Arguments &&...arguments) {
        if (count == places)
            return growWith(OSCValue(std::forward<Arguments>(arguments)...));
        OSCValue *const made = std::construct_at(first + count, std::forward<Arguments>(arguments)...);
        ++count;
        return *made;
    }
    void push_back(OSCValue value) { emplace_back(std::move(value)); }

    bool operator==(const OSCValues &other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }

private:
    static constexpr std::size_t roomSize = 6;

    std::size_t checked(std::size_t index) const;
    void grow(std::size_t size);
    OSCValue &growWith(OSCValue value);
    void take(OSCValues &other) noexcept;
    void release() noexcept {
        std::destroy_n(first, count);
        if (first != room)
            std::allocator<OSCValue>().deallocate(first, places);
        first = room;
        count = 0;
        places = roomSize;
    }

    OSCValue *first; ///< in `room` or, with more places than that, from the allocator
    std::size_t count = 0;
    std::size_t places = roomSize;
    union {
        OSCValue room[roomSize]; ///< only the first `count` are alive, and none when `first` is elsewhere
    };
};

} // namespace corvane
