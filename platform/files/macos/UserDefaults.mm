#include "platform/files/UserDefaults.h"

#include "platform/files/MacText.h"

namespace corvane {
namespace {

/// The domain is asked for by name, because the command line may run outside the bundle. In the bundle it is
/// the standard one, which must not be asked for by name.
NSUserDefaults *userDefaults() {
    NSString *domain = @"app.corvane.Corvane";
    if ([NSBundle.mainBundle.bundleIdentifier isEqualToString:domain])
        return NSUserDefaults.standardUserDefaults;
    return [[NSUserDefaults alloc] initWithSuiteName:domain];
}

class MacUserDefaults final : public UserDefaults {
public:
    std::optional<std::string> string(const std::string &key) const override {
        NSString *name = nsString(key);
        NSString *value = name ? [userDefaults() stringForKey:name] : nil;
        return value ? utf8(value) : std::nullopt;
    }

    void set(const std::string &key, const std::string &value) override {
        NSString *name = nsString(key);
        NSString *text = nsString(value);
        if (name && text)
            [userDefaults() setObject:text forKey:name];
    }
};

} // namespace

std::unique_ptr<UserDefaults> makeUserDefaults() {
    return std::make_unique<MacUserDefaults>();
}

} // namespace corvane
