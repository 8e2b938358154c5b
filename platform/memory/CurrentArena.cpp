#include "platform/memory/CurrentArena.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace corvane {
namespace {

constinit thread_local Arena *current = nullptr;

bool isInArena(const void *block) {
    return current != nullptr && current->owns(block);
}

} // namespace

CurrentArena::CurrentArena(Arena *arena) : before(std::exchange(current, arena)) {}

CurrentArena::~CurrentArena() {
    current = before;
}

void *CurrentArena::allocate(std::size_t size) {
    return current == nullptr ? std::malloc(size) : current->allocate(size);
}

void CurrentArena::release(void *block) {
    // Blocks from before the arena was current may be among them.
    if (isInArena(block))
        current->release(block);
    else
        std::free(block);
}

void *CurrentArena::resize(void *block, std::size_t size) {
    if (block == nullptr)
        return allocate(size);
    return isInArena(block) ? current->resize(block, size) : std::realloc(block, size);
}

char *CurrentArena::duplicate(const char *text) {
    const std::size_t size = std::strlen(text) + 1;
    void *const copy = allocate(size);
    return copy == nullptr ? nullptr : static_cast<char *>(std::memcpy(copy, text, size));
}

} // namespace corvane
