#include "platform/memory/CurrentArena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

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
    void *const third = arena.allocate(0);
    EXPECT_NE(third, first);
    EXPECT_NE(third, second);
    void *const last = arena.allocate(24);
    arena.release(last);
    EXPECT_EQ(arena.allocate(48), last);
}

constexpr std::size_t pieceSize = 262'144; // the first two
constexpr std::size_t pieceRoom = pieceSize - 2 * sizeof(void *);

char *allocated(Arena &arena, std::size_t size) {
    return static_cast<char *>(arena.allocate(size));
}

/// How many of the smallest blocks stand one behind the other, from the next one on. The one behind them has
/// been taken, too.
std::size_t blocksInARow(Arena &arena) {
    std::size_t count = 1;
    for (char *before = allocated(arena, 8), *next; (next = allocated(arena, 8)) == before + 8; before = next)
        ++count;
    return count;
}

TEST(Arena, ABlockTakesAMultipleOfEightBytes) {
    Arena arena;
    char *before = allocated(arena, 0);
    for (const auto &[size, taken] : {std::pair(1, 8), {8, 8}, {9, 16}, {16, 16}, {17, 24}, {0, 8}}) {
        char *const block = allocated(arena, static_cast<std::size_t>(size));
        EXPECT_EQ(allocated(arena, 0) - block, taken) << size;
        EXPECT_EQ(block - before, 8);
        before = block + taken;
    }
}

TEST(Arena, APieceIsUsedToItsLastByteAndTheNextIsAsLargeAsAllBeforeIt) {
    Arena arena;
    EXPECT_EQ(blocksInARow(arena), pieceRoom / 8);
    EXPECT_EQ(blocksInARow(arena), pieceRoom / 8 - 1); // one was taken already
    EXPECT_EQ(blocksInARow(arena), (pieceRoom + pieceSize) / 8 - 1);
}

TEST(Arena, ABlockGrowsToTheEndOfItsPieceWhereItIs) {
    Arena arena;
    char *const block = allocated(arena, 8);
    EXPECT_EQ(arena.resize(block, pieceRoom), block);
    EXPECT_TRUE(arena.owns(block));
    EXPECT_TRUE(arena.owns(block + pieceRoom - 1));
    EXPECT_FALSE(arena.owns(block + pieceRoom));
    EXPECT_FALSE(arena.owns(block - 2 * sizeof(void *))) << "what the arena keeps for itself";
    EXPECT_NE(arena.resize(block, pieceRoom + 1), block);
}

#ifdef __linux__

bool isMapped(void *address) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    unsigned char resident = 0;
    return ::mincore(reinterpret_cast<void *>(reinterpret_cast<std::uintptr_t>(address) / page * page), page,
                     &resident) == 0;
}

TEST(Arena, WhatItTookGoesBackToTheSystemWithIt) {
    std::vector<char *> ends;
    {
        Arena arena;
        for (const std::size_t size : {pieceRoom, pieceRoom, std::size_t{5'000'000}}) {
            ends.push_back(allocated(arena, size));
            ends.push_back(ends.back() + size - 1);
        }
        for (char *const end : ends)
            EXPECT_TRUE(isMapped(end));
    }
    for (char *const end : ends)
        EXPECT_FALSE(isMapped(end));
}

TEST(Arena, WhereTheSystemHasLittleLeftItTakesWhatItMustHave) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    Arena arena;
    ASSERT_NE(arena.allocate(128 * 1'048'576), nullptr);
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit tight{pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + 64 * 1'048'576,
                       before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    void *const block = arena.allocate(1'048'576);
    void *const tooMuch = arena.allocate(96 * 1'048'576);
    void *const behind = arena.allocate(8);
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(tooMuch, nullptr);
    EXPECT_EQ(behind, static_cast<char *>(block) + 1'048'576);
}

#endif

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
    const char *const seven = CurrentArena::duplicate("Kick in");
    EXPECT_EQ(CurrentArena::allocate(8), seven + 8); // with its end, and no more
}

TEST(CurrentArena, ItsLastBlockIsUsedAgainWhenItIsReleased) {
    Arena arena;
    const CurrentArena isCurrent(&arena);
    void *const block = CurrentArena::allocate(8);
    CurrentArena::release(block);
    EXPECT_EQ(CurrentArena::allocate(8), block);
}

#ifdef __GLIBC__
TEST(CurrentArena, WithoutAnArenaABlockGoesBackToTheSystem) {
    constexpr std::size_t size = 1'048'576;
    const auto inUse = [] { return ::mallinfo2().uordblks + ::mallinfo2().hblkhd; };
    const auto before = inUse();
    CurrentArena::release(CurrentArena::allocate(size));
    EXPECT_LT(inUse(), before + size);
}
#endif

} // namespace
} // namespace corvane
