#include "osc/OSCValues.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using V = OSCValue;

/// More than any string keeps within itself.
const std::string longText(100, 'x');

/// So many values of all kinds, each other than its neighbours.
std::vector<V> someValues(std::size_t count) {
    std::vector<V> values;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = static_cast<std::int32_t>(i);
        const V kinds[] = {V(number),
                           V(longText + std::to_string(i)),
                           V(std::int64_t{number} << 32U),
                           V(static_cast<float>(i)),
                           V(std::to_string(i)),
                           V(i % 2 == 0)};
        values.push_back(kinds[i % std::size(kinds)]);
    }
    return values;
}

OSCValues listOf(std::size_t count) {
    return OSCValues(std::span<const V>(someValues(count)));
}

void expectValues(const OSCValues &list, const std::vector<V> &expected) {
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.Move): lists that were moved from are looked at as well
    EXPECT_EQ(std::vector<V>(list.begin(), list.end()), expected);
    EXPECT_EQ(list.size(), expected.size());
    EXPECT_EQ(list.empty(), expected.empty());
    EXPECT_GE(list.capacity(), expected.size());
    EXPECT_THROW(static_cast<void>(list.at(expected.size())), std::out_of_range);
    if (!expected.empty()) {
        EXPECT_EQ(list.front(), expected.front());
        EXPECT_EQ(list[expected.size() - 1], expected.back());
        EXPECT_EQ(list.at(expected.size() - 1), expected.back());
    }
}

bool standsInItself(const OSCValues &list) {
    const void *const at = list.data();
    const std::less<> isBefore;
    return !isBefore(at, static_cast<const void *>(&list)) &&
           isBefore(at, static_cast<const void *>(&list + 1));
}

/// None, some and all that stand in the list itself, one more, and many.
const std::size_t sizes[] = {0, 1, 5, 6, 7, 13, 100};

TEST(OSCValues, IsEmptyAtFirst) {
    expectValues(OSCValues(), {});
    expectValues({}, {});
}

TEST(OSCValues, HoldsWhatItWasMadeOf) {
    expectValues({1}, {V(1)});
    expectValues({1, "two", 3.0F, std::int64_t{4}, true, 6, longText},
                 {V(1), V("two"), V(3.0F), V(std::int64_t{4}), V(true), V(6), V(longText)});
    for (const std::size_t size : sizes)
        expectValues(listOf(size), someValues(size));
}

TEST(OSCValues, HoldsSixValuesInItselfAndMoreElsewhere) {
    for (const std::size_t size : sizes)
        EXPECT_EQ(standsInItself(listOf(size)), size <= 6) << size;
}

TEST(OSCValues, KeepsItsValuesWhileItGrows) {
    const auto expected = someValues(100);
    OSCValues list;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        list.push_back(expected[i]);
        expectValues(list,
                     std::vector<V>(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(i) + 1));
    }
}

TEST(OSCValues, MakesAValueWhereItWillStand) {
    OSCValues list;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(list.emplace_back(std::in_place_type<std::string>, longText, 7U), V(longText.substr(7)));
        EXPECT_EQ(list.emplace_back(i), V(i));
    }
    EXPECT_EQ(list.size(), 40U);
}

TEST(OSCValues, AppendsAValueOfItsOwn) {
    OSCValues list{longText};
    for (std::size_t size = 1; size < 30; ++size) {
        EXPECT_EQ(list.emplace_back(list.front()), V(longText));
        EXPECT_EQ(list.front(), V(longText));
    }
    list.push_back(list.front());
    expectValues(list, std::vector<V>(31, V(longText)));
}

TEST(OSCValues, DoesNotMoveWithinTheRoomThatWasMade) {
    for (const std::size_t size : sizes) {
        auto list = listOf(size);
        list.reserve(120);
        const auto *const before = list.data();
        while (list.size() < 120)
            list.push_back(7);
        EXPECT_EQ(list.data(), before);
        list.reserve(3);
        EXPECT_EQ(list.data(), before);
        auto expected = someValues(size);
        expected.resize(120, V(7));
        expectValues(list, expected);
    }
}

TEST(OSCValues, AValueThatIsNotThereIsSaidInWords) {
    const OSCValues list{1};
    try {
        static_cast<void>(list.at(1));
        ADD_FAILURE();
    } catch (const std::out_of_range &error) {
        EXPECT_STREQ(error.what(), "OSCValues: no such value");
    }
}

TEST(OSCValues, CanBeChangedInPlace) {
    for (const std::size_t size : {6U, 7U}) {
        auto list = listOf(size);
        list[2] = "changed";
        for (V &value : list)
            value = value == V("changed") ? V(1) : V(0);
        auto expected = std::vector<V>(size, V(0));
        expected[2] = 1;
        expectValues(list, expected);
        list.front() = longText;
        EXPECT_EQ(list[0], V(longText));
    }
}

TEST(OSCValues, CopiesAreListsOfTheirOwn) {
    for (const std::size_t size : sizes) {
        const auto list = listOf(size);
        auto copy = list;
        EXPECT_EQ(copy, list);
        for (V &value : copy)
            value = "other";
        copy.push_back("more");
        expectValues(list, someValues(size));
        expectValues(copy, [&] {
            auto expected = std::vector<V>(size, V("other"));
            expected.emplace_back("more");
            return expected;
        }());
    }
}

TEST(OSCValues, OneThatWasMovedFromIsEmptyAndCanBeUsed) {
    for (const std::size_t size : sizes) {
        auto list = listOf(size);
        const auto *const values = list.data();
        auto moved = std::move(list);
        expectValues(moved, someValues(size));
        EXPECT_EQ(moved.data() == values, size > 6) << "values that stand elsewhere stay where they are";
        expectValues(list, {}); // NOLINT(bugprone-use-after-move): what it is then is the question
        for (const V &value : someValues(9))
            list.push_back(value); // NOLINT(clang-analyzer-cplusplus.Move): as above
        expectValues(list, someValues(9));
        expectValues(moved, someValues(size));
    }
}

TEST(OSCValues, TakesOnTheValuesOfAnother) {
    for (const std::size_t before : sizes) {
        for (const std::size_t size : sizes) {
            const auto other = listOf(size);
            auto copied = listOf(before);
            copied = other;
            expectValues(copied, someValues(size));
            expectValues(other, someValues(size));

            auto source = listOf(size);
            auto moved = listOf(before);
            moved = std::move(source);
            expectValues(moved, someValues(size));
            expectValues(source, {}); // NOLINT(bugprone-use-after-move): as above
            moved = {};
            expectValues(moved, {});
        }
    }
}

TEST(OSCValues, KeepsItsValuesWhenAssignedToItself) {
    for (const std::size_t size : sizes) {
        auto list = listOf(size);
        auto &same = list;
        list = same;
        expectValues(list, someValues(size));
        list = std::move(same);
        expectValues(list, someValues(size));
    }
}

TEST(OSCValues, ListsChangePlaces) {
    for (const std::size_t one : sizes) {
        for (const std::size_t two : sizes) {
            auto first = listOf(one);
            auto second = listOf(two);
            std::swap(first, second);
            expectValues(first, someValues(two));
            expectValues(second, someValues(one));
        }
    }
}

TEST(OSCValues, AreEqualWhenAllValuesAre) {
    for (const std::size_t size : sizes) {
        EXPECT_EQ(listOf(size), listOf(size));
        EXPECT_NE(listOf(size), listOf(size + 1));
        if (size == 0)
            continue;
        auto other = listOf(size);
        other[size - 1] = "other";
        EXPECT_NE(listOf(size), other);
    }
    EXPECT_NE((OSCValues{1}), (OSCValues{std::int64_t{1}})) << "the kind counts as well";
    auto roomy = listOf(3);
    roomy.reserve(50);
    EXPECT_EQ(roomy, listOf(3)) << "where the values stand does not";
}

TEST(OSCValues, KeepsItsValuesWhenAnotherCannotBeMade) {
    constexpr auto tooLong = std::numeric_limits<std::size_t>::max();
    for (const std::size_t size : sizes) {
        auto list = listOf(size);
        const auto *const before = list.data();
        EXPECT_THROW(list.emplace_back(std::in_place_type<std::string>, tooLong, 'x'), std::length_error);
        EXPECT_THROW(list.reserve(tooLong), std::bad_alloc);
        expectValues(list, someValues(size));
        EXPECT_EQ(list.data(), before);
    }
}

TEST(OSCValues, BehaveAsAVectorDoes) {
    std::minstd_rand random(7); // NOLINT(cert-msc51-cpp): the same each time
    OSCValues list;
    std::vector<V> model;
    for (int step = 0; step < 20'000; ++step) {
        const std::size_t number = random() % 40;
        switch (random() % 8) {
        case 0:
            list = listOf(number);
            model = someValues(number);
            break;
        case 1:
            list.reserve(number);
            break;
        case 2:
            list = OSCValues(std::span<const V>(model));
            break;
        case 3: {
            OSCValues other = std::move(list);
            list = other;
            break;
        }
        case 4:
            if (!model.empty())
                list[number % model.size()] = model[number % model.size()] = longText;
            break;
        default:
            list.push_back(static_cast<std::int32_t>(number));
            model.emplace_back(static_cast<std::int32_t>(number));
        }
        ASSERT_EQ(std::vector<V>(list.begin(), list.end()), model) << "after step " << step;
    }
}

} // namespace
} // namespace corvane
