// A file that the check must refuse, one fault at a time: each line is tried alone, by its number.

#import <AppKit/AppKit.h>

#include "platform/files/MacText.h"

void check(NSRunningApplication *application) {
    (void)application;
#if FAULT == 1
    [application terminateNow]; // no such selector
#elif FAULT == 2
    NSString *text = application; // another class
    (void)text;
#elif FAULT == 3
    NSApp.appearence = nil; // no such property
#elif FAULT == 4
    application.terminated = YES; // read-only
#elif FAULT == 5
    const std::string text = @"text"; // another kind of string
    (void)text;
#elif FAULT == 6
    [NSRunningApplication runningApplicationsWithBundleIdentifier:"app.corvane.Corvane"]; // not an NSString
#else
    [application terminate]; // in order
#endif
}
