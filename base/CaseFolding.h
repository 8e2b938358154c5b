#pragma once

namespace corvane {

/// The letter that stands for this one and its other cases in a comparison (Unicode simple case folding). It
/// does not depend on the locale, as towlower would: "I" and "i" are one letter on a Turkish computer as
/// well.
char32_t foldedCase(char32_t letter);

} // namespace corvane
