#pragma once

#include <cstddef>

namespace corvane {

/// Memory for very many small blocks that live and die together. It is taken from the system in pieces, of
/// large pages where there are such, and goes back whole with the arena: a block that is released is used
/// again only if it was the last one. Used on one thread at a time.
class Arena {
public:
    Arena() = default;
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;
    ~Arena();

    /// A block at an address that eight divides; null when the system has no memory left.
    void *allocate(std::size_t size) noexcept;
    /// The block with room for `size` bytes, elsewhere if need be; null, and the block as it was, when the
    /// system has no memory left.
    void *resize(void *block, std::size_t size) noexcept;
    void release(void *block) noexcept;
    bool owns(const void *block) const noexcept { return pieceOf(block) != nullptr; }

private:
    struct Piece;

    const Piece *pieceOf(const void *block) const noexcept;
    bool addPiece(std::size_t least) noexcept;

    /// The newest piece; each knows the one before it.
    Piece *newest = nullptr;
    std::size_t taken = 0;
    char *top = nullptr;
    char *end = nullptr;
    char *last = nullptr;
};

} // namespace corvane
