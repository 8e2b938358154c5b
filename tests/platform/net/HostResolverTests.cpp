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

} // namespace
} // namespace corvane
