#pragma once

#include "platform/memory/Arena.h"

namespace corvane {

/// While it lives, the functions below allocate from `arena` on this thread. With a null arena, or without a
/// CurrentArena, they use the ordinary heap. A block from an arena may be released or resized only while that
/// arena is the current one.
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
