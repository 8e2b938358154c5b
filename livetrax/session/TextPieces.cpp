#include "livetrax/session/TextPieces.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace corvane {
namespace {

constexpr std::size_t pieceSize = 65536;

/// What `read` reads into a buffer.
template <class Read>
NextPiece piecesFrom(Read read) {
    return [read, buffer = std::vector<char>(pieceSize)]() mutable {
        const std::size_t count = read(buffer.data(), buffer.size());
        return std::string_view(buffer.data(), count);
    };
}

} // namespace

NextPiece piecesOf(std::string_view text) {
    return [text]() mutable { return std::exchange(text, {}); };
}

NextPiece piecesOf(const FileHandle &file) {
    return piecesFrom([&file](char *to, std::size_t room) { return file.read(to, room); });
}

NextPiece piecesFromBeginning(const FileHandle &file) {
    return piecesFrom([&file, offset = std::uint64_t{0}](char *to, std::size_t room) mutable {
        const std::size_t count = file.readAt(offset, to, room);
        offset += count;
        return count;
    });
}

PieceWriter::PieceWriter(const FileHandle &file) : file(file) {}

void PieceWriter::write(std::string_view piece) {
    buffer += piece;
    if (buffer.size() < pieceSize)
        return;
    file.write(buffer);
    buffer.clear();
}

} // namespace corvane
