#include "platform/host/macos/MacText.h"
#include "platform/macos/MacSystem.h"

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

} // namespace

std::optional<std::string> MacUserDefaults::string(const std::string &key) const {
    NSString *name = nsString(key);
    NSString *value = name ? [userDefaults() stringForKey:name] : nil;
    return value ? utf8(value) : std::nullopt;
}

void MacUserDefaults::set(const std::string &key, const std::string &value) {
    NSString *name = nsString(key);
    NSString *text = nsString(value);
    if (name && text)
        [userDefaults() setObject:text forKey:name];
}

} // namespace corvane
