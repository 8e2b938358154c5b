#pragma once

#include "lv1/LV1Channel.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// A patch file that cannot be used. The text says which field of which channel, and why.
class PatchDocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The channels of a patch file, {"version":1,"channels":[…]}. A channel's colours may be left out, and are
/// then the usual ones. Throws PatchDocumentError.
std::vector<LV1Channel> readPatchDocument(std::string_view json);

/// The patch file of these channels, one line for each, with a line feed at the end.
std::string patchDocument(const std::vector<LV1Channel> &channels);

/// The channels as a JSON array on one line, for documents of other kinds.
std::string channelArray(const std::vector<LV1Channel> &channels);

/// One channel as a JSON object on one line. A colour reads back as the very same number; one that is not
/// finite is null.
std::string channelObject(const LV1Channel &channel);

/// The channels as comma-separated values (RFC 4180, lines end with a line feed) below a line of field names.
std::string patchTable(const std::vector<LV1Channel> &channels);

} // namespace corvane
