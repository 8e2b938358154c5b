#include "platform/memory/Arena.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include <sys/mman.h>

namespace corvane {

/// Stands at the beginning of the memory that it describes.
struct Arena::Piece {
    Piece *before;
    char *end;
};

namespace {

constexpr std::size_t alignment = 8;
constexpr std::size_t pieceUnit = 262'144; // a multiple of every system's pages
constexpr std::size_t largestBlock = std::numeric_limits<std::size_t>::max() / 4;

constexpr std::size_t roundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// What a block takes: never nothing, so that no two begin at one address.
constexpr std::size_t blockSize(std::size_t size) {
    return roundedUp(std::max<std::size_t>(size, 1), alignment);
}

/// Null when the system has none left.
void *takePages(std::size_t size) {
    void *const pages = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED)
        return nullptr;
#ifdef MADV_HUGEPAGE
    // Each page is a fault and a look-up: one of 2 MB stands for 512. A system without them says so, no
    // matter.
    constexpr std::size_t worthwhile = 4'194'304;
    if (size >= worthwhile)
        ::madvise(pages, size, MADV_HUGEPAGE);
#endif
    return pages;
}

} // namespace

Arena::~Arena() {
    while (newest != nullptr) {
        Piece *const piece = newest;
        newest = piece->before;
        ::munmap(piece, static_cast<std::size_t>(piece->end - reinterpret_cast<char *>(piece)));
    }
}

void *Arena::allocate(std::size_t size) noexcept {
    if (size > largestBlock)
        return nullptr;
    const std::size_t room = blockSize(size);
    if (static_cast<std::size_t>(end - top) < room && !addPiece(room))
        return nullptr;
    last = top;
    top += room;
    return last;
}

void *Arena::resize(void *block, std::size_t size) noexcept {
    if (block == last && size <= static_cast<std::size_t>(end - last)) {
        top = last + blockSize(size);
        return block;
    }
    // How large the block was is not written down: some of what stands behind it is copied along.
    const std::size_t atMost = static_cast<std::size_t>(pieceOf(block)->end - static_cast<char *>(block));
    void *const moved = allocate(size);
    if (moved != nullptr)
        std::memmove(moved, block, std::min(size, atMost));
    return moved;
}

void Arena::release(void *block) noexcept {
    if (block == last)
        top = last;
}

const Arena::Piece *Arena::pieceOf(const void *block) const noexcept {
    const auto *const at = static_cast<const char *>(block);
    for (const Piece *piece = newest; piece != nullptr; piece = piece->before)
        if (at > reinterpret_cast<const char *>(piece) && at < piece->end)
            return piece;
    return nullptr;
}

/// Each is as large as all before it together, so that there are few; where the system has not that much
/// left, as large as it must be.
bool Arena::addPiece(std::size_t least) noexcept {
    const std::size_t needed = roundedUp(sizeof(Piece) + least, pieceUnit);
    std::size_t size = std::max(needed, taken);
    void *pages = takePages(size);
    if (pages == nullptr && size > needed) {
        size = needed;
        pages = takePages(size);
    }
    if (pages == nullptr)
        return false;
    taken += size;
    end = static_cast<char *>(pages) + size;
    top = static_cast<char *>(pages) + sizeof(Piece);
    newest = new (pages) Piece{newest, end};
    return true;
}

} // namespace corvane
