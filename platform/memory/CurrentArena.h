#pragma once

#include "platform/memory/Arena.h"

namespace corvane {

/// While it lives, the functions below allocate from an arena on this thread; where that is null, and
/// otherwise, as everybody does. What they allocated in an arena is released and resized while that arena is
/// the current one.
class CurrentArena {
public:
    explicit CurrentArena(Arena *arena);
    CurrentArena(const CurrentArena &) = delete;
    CurrentArena &operator=(const CurrentArena &) = delete;
    ~CurrentArena();

    /// malloc, free, realloc and strdup for a library that can be given its own.
    static void *allocate(std::size_t size);
    static void release(void *block);
    static void *resize(void *block, std::size_t size);
    static char *duplicate(const char *text);

private:
    Arena *before;
};

} // namespace corvane
