#include "platform/memory/CurrentArena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace corvane {
namespace {

struct Block {
    void *address;
    std::size_t size;
    unsigned char mark;
};

/// Whether the block still holds what was written to it.
bool isWhole(const Block &block, std::size_t size) {
    const auto *const bytes = static_cast<const unsigned char *>(block.address);
    for (std::size_t i = 0; i < size; ++i)
        if (bytes[i] != block.mark)
            return false;
    return true;
}

TEST(Arena, BlocksAreApartAndKeepWhatIsWrittenWhateverElseHappens) {
    Arena arena;
    std::minstd_rand random(7);
    std::vector<Block> blocks;
    for (int round = 0; round < 20'000; ++round) {
        // Mostly small, now and then larger than all that the arena has taken so far.
        const std::size_t size = round % 4'000 == 3'999 ? 3'000'000U : random() % 300;
        Block changed{nullptr, size, static_cast<unsigned char>(random())};
        if (blocks.empty() || random() % 3 != 0) {
            changed.address = arena.allocate(size);
        } else {
            std::swap(blocks.back(), random() % 2 == 0 ? blocks.back() : blocks[random() % blocks.size()]);
            const Block old = blocks.back();
            blocks.pop_back();
            changed.address = arena.resize(old.address, size);
            ASSERT_TRUE(isWhole({changed.address, 0, old.mark}, std::min(old.size, size)));
        }
        ASSERT_NE(changed.address, nullptr);
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(changed.address) % 8, 0U);
        std::memset(changed.address, changed.mark, size);
        blocks.push_back(changed);
    }
    for (const Block &block : blocks)
        EXPECT_TRUE(isWhole(block, block.size));
}

TEST(Arena, ItOwnsItsBlocksAndNothingElse) {
    Arena arena;
    Arena other;
    int elsewhere = 0;
    EXPECT_FALSE(arena.owns(&elsewhere));
    EXPECT_FALSE(arena.owns(nullptr));
    std::vector<void *> blocks;
    for (int i = 0; i < 100; ++i)
        blocks.push_back(arena.allocate(100'000));
    for (void *block : blocks) {
        EXPECT_TRUE(arena.owns(block));
        EXPECT_FALSE(other.owns(block));
    }
    EXPECT_FALSE(arena.owns(other.allocate(1)));
}

TEST(Arena, TheLastBlockGrowsAndShrinksWhereItIsAndIsUsedAgain) {
    Arena arena;
    void *const first = arena.allocate(16);
    void *const second = arena.allocate(16);
    EXPECT_EQ(arena.resize(second, 4'096), second);
    EXPECT_EQ(arena.resize(second, 8), second);
    arena.release(first); // not the last: stays as it is
    EXPECT_NE(arena.allocate(0), first);
    void *const last = arena.allocate(24);
    arena.release(last);
    EXPECT_EQ(arena.allocate(48), last);
}

TEST(Arena, EvenBlocksOfNothingAreApart) {
    Arena arena;
    void *const one = arena.allocate(0);
    EXPECT_NE(one, nullptr);
    EXPECT_NE(arena.allocate(0), one);
}

TEST(Arena, WhatTheSystemDoesNotHaveIsNotGiven) {
    Arena arena;
    void *const block = arena.allocate(8);
    std::memset(block, 1, 8);
    EXPECT_EQ(arena.allocate(std::numeric_limits<std::size_t>::max()), nullptr);
    EXPECT_EQ(arena.allocate(std::size_t{1} << 60U), nullptr);
    EXPECT_EQ(arena.resize(block, std::size_t{1} << 60U), nullptr);
    EXPECT_TRUE(isWhole({block, 8, 1}, 8));
    EXPECT_NE(arena.allocate(8), nullptr);
}

TEST(CurrentArena, BlocksComeFromTheArenaThatIsCurrentOnTheirThread) {
    Arena outer;
    Arena inner;
    void *const before = CurrentArena::allocate(10);
    const CurrentArena outerIsCurrent(&outer);
    EXPECT_TRUE(outer.owns(CurrentArena::allocate(10)));
    {
        const CurrentArena innerIsCurrent(&inner);
        EXPECT_TRUE(inner.owns(CurrentArena::resize(nullptr, 10)));
        const CurrentArena noneIsCurrent(nullptr);
        void *const block = CurrentArena::allocate(10);
        EXPECT_FALSE(inner.owns(block) || outer.owns(block));
        CurrentArena::release(block);
    }
    EXPECT_TRUE(outer.owns(CurrentArena::duplicate("text")));
    std::thread([&] {
        void *const block = CurrentArena::allocate(10);
        EXPECT_FALSE(outer.owns(block));
        CurrentArena::release(block);
    }).join();
    CurrentArena::release(nullptr);
    void *const larger = CurrentArena::resize(before, 100'000); // from before any arena
    EXPECT_FALSE(outer.owns(larger));
    CurrentArena::release(larger);
}

TEST(CurrentArena, ATextIsDuplicatedWithItsEnd) {
    Arena arena;
    const CurrentArena isCurrent(&arena);
    CurrentArena::release(std::memset(CurrentArena::allocate(8), 'x', 8));
    EXPECT_EQ(std::string(CurrentArena::duplicate("Kick")), "Kick");
}

} // namespace
} // namespace corvane
