#include "platform/net/HostResolver.h"
#include "tests/support/PrivateNetwork.h"

#include <gtest/gtest.h>

#include <netdb.h>

namespace corvane {
namespace {

TEST(HostResolver, AHostThatNobodyKnowsIsToldInTheSystemsWords) {
    CORVANE_ENTER_PRIVATE_NETWORK(); // where no server answers
    addrinfo *found = nullptr;
    const int code = ::getaddrinfo("nobody.invalid", nullptr, nullptr, &found);
    ASSERT_NE(code, 0);
    ASSERT_NE(code, EAI_SYSTEM);
    const auto result = lookUpHost("nobody.invalid");
    EXPECT_TRUE(result.addresses.empty());
    EXPECT_EQ(result.error, ::gai_strerror(code));
}

TEST(HostResolver, AnAddressIsListedOnceWhateverItMayBeUsedFor) {
    const auto result = lookUpHost("127.0.0.1");
    ASSERT_EQ(result.addresses.size(), 1U);
    EXPECT_EQ(result.addresses.front().to_string(), "127.0.0.1");
    EXPECT_EQ(lookUpHost("::1").addresses.size(), 1U);
}

} // namespace
} // namespace corvane
