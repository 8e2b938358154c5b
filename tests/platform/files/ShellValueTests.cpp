#include "platform/files/ShellValue.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

struct Assignment {
    const char *text;
    std::optional<std::string> value;
};

TEST(ShellValue, IsReadAsAShellWouldReadIt) {
    const TemporaryFolder folder;
    for (const auto &[text, value] : std::initializer_list<Assignment>{{"N=plain", "plain"},
                                                                       {"N=", ""},
                                                                       {"  N=indented  ", "indented"},
                                                                       {"N=\"two words\"", "two words"},
                                                                       {"N='two words'", "two words"},
                                                                       {"N=one word", "one"},
                                                                       {"N=one\tword", "one"},
                                                                       {"N=one \"open", "one"},
                                                                       {"N=two\\ words", "two words"},
                                                                       {"N=l\\ast", "last"},
                                                                       {"N=las\\t", "last"},
                                                                       {"N=last\\", "last\\"},
                                                                       {"N=\"\\\"quoted\\\"\"", "\"quoted\""},
                                                                       {"N='a\\b'", "a\\b"},
                                                                       {"N='say \"no\"'", "say \"no\""},
                                                                       {"N=\"it's\"", "it's"},
                                                                       {"N=so\" me\"'ti mes'", "so meti mes"},
                                                                       {"N=\"open", std::nullopt},
                                                                       {"N='open", std::nullopt},
                                                                       {"N=\"open\\", std::nullopt},
                                                                       {"N=\"open\\\"", std::nullopt},
                                                                       {"N=first\nN=last\n", "last"},
                                                                       {"N=first\nN=\"open", std::nullopt},
                                                                       {"NN=no\nM=no\n# N=no", std::nullopt},
                                                                       {"", std::nullopt}})
        EXPECT_EQ(shellValue(folder.write("file", text), "N"), value) << text;
    EXPECT_EQ(shellValue(folder / "none", "N"), std::nullopt);
}

} // namespace
} // namespace corvane
