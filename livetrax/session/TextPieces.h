#pragma once

#include "platform/files/FileHandle.h"

#include <functional>
#include <string>
#include <string_view>

namespace corvane {

/// Gives the next piece of a text, valid until the next is asked for; an empty one at the end.
using NextPiece = std::function<std::string_view()>;

/// A text that is there already, in one piece.
NextPiece piecesOf(std::string_view text);

/// A file's contents from its current position on. Calling the result throws FileError.
NextPiece piecesOf(const FileHandle &file);

/// A file's contents from the beginning, read by offset: it neither uses nor moves the file's position.
NextPiece piecesFromBeginning(const FileHandle &file);

/// Writes a text that comes in small pieces in larger ones. Throws FileError.
class PieceWriter {
public:
    explicit PieceWriter(const FileHandle &file);
    void write(std::string_view piece);
    /// What has not been written yet. Called once, at the end.
    void finish() { file.write(buffer); }

private:
    const FileHandle &file;
    std::string buffer;
};

} // namespace corvane
