#include "platform/host/macos/MacApplication.h"
#include "platform/files/MacText.h"

#import <AppKit/AppKit.h>

#include <utility>

/// What the About item of the menu calls: menu items take no functions.
@interface CorvaneMenuTarget : NSObject
- (instancetype)initWithAction:(std::function<void()>)anAction;
- (void)showAbout:(id)sender;
@end

@implementation CorvaneMenuTarget {
    std::function<void()> action;
}

- (instancetype)initWithAction:(std::function<void()>)anAction {
    self = [super init];
    if (self)
        action = std::move(anAction);
    return self;
}

- (void)showAbout:(id)sender {
    (void)sender;
    action();
}

@end

namespace corvane {
namespace {

NSMenuItem *addItem(NSMenu *menu, const std::string &title, SEL action, NSString *key) {
    NSMenuItem *item = [[NSMenuItem alloc] initWithTitle:nsString(title) action:action keyEquivalent:key];
    [menu addItem:item];
    return item;
}

NSAttributedString *centredCredits(const std::string &credits) {
    constexpr CGFloat size = 11;
    NSMutableParagraphStyle *centred = [[NSMutableParagraphStyle alloc] init];
    centred.alignment = NSTextAlignmentCenter;
    return [[NSAttributedString alloc] initWithString:nsString(credits)
                                           attributes:@{
                                               NSFontAttributeName : [NSFont systemFontOfSize:size],
                                               NSForegroundColorAttributeName : NSColor.secondaryLabelColor,
                                               NSParagraphStyleAttributeName : centred,
                                           }];
}

NSString *bundleText(NSString *key) {
    id value = [NSBundle.mainBundle objectForInfoDictionaryKey:key];
    return [value isKindOfClass:NSString.class] ? value : @"";
}

} // namespace

void prepareApplication() {
    [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
    NSApp.appearance = [NSAppearance appearanceNamed:NSAppearanceNameDarkAqua];
}

void activateApplication() {
    [NSApp activateIgnoringOtherApps:YES];
}

void setDockBadge(const std::string &text) {
    NSApp.dockTile.badgeLabel = text.empty() ? nil : nsString(text);
}

std::vector<unsigned char> applicationIconPNG() {
    NSData *image = NSApp.applicationIconImage.TIFFRepresentation;
    NSBitmapImageRep *bitmap = image ? [NSBitmapImageRep imageRepWithData:image] : nil;
    NSData *file = [bitmap representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
    const auto *bytes = static_cast<const unsigned char *>(file.bytes);
    return std::vector<unsigned char>(bytes, bytes + file.length);
}

void installApplicationMenu(const std::string &applicationName, std::function<void()> showAbout) {
    // A menu item does not own its target.
    static CorvaneMenuTarget *target = nil;
    target = [[CorvaneMenuTarget alloc] initWithAction:std::move(showAbout)];

    NSMenu *menu = [[NSMenu alloc] initWithTitle:nsString(applicationName)];
    addItem(menu, "About " + applicationName + "…", @selector(showAbout:), @"").target = target;
    [menu addItem:NSMenuItem.separatorItem];
    addItem(menu, "Hide " + applicationName, @selector(hide:), @"h").target = NSApp;
    NSMenuItem *hideOthers = addItem(menu, "Hide Others", @selector(hideOtherApplications:), @"h");
    hideOthers.keyEquivalentModifierMask = NSEventModifierFlagOption | NSEventModifierFlagCommand;
    hideOthers.target = NSApp;
    addItem(menu, "Show All", @selector(unhideAllApplications:), @"").target = NSApp;
    [menu addItem:NSMenuItem.separatorItem];
    addItem(menu, "Quit " + applicationName, @selector(terminate:), @"q").target = NSApp;

    NSMenu *bar = [[NSMenu alloc] initWithTitle:@""];
    NSMenuItem *place = [[NSMenuItem alloc] initWithTitle:@"" action:nil keyEquivalent:@""];
    place.submenu = menu;
    [bar addItem:place];
    NSApp.mainMenu = bar;
}

void keepWindowInPlace(void *view) {
    NSWindow *window = ((__bridge NSView *)view).window;
    // The place alone: the window's size follows from what it shows.
    const NSSize size = window.frame.size;
    NSString *name = @"Corvane";
    if ([window setFrameUsingName:name]) {
        const NSRect kept = window.frame;
        const CGFloat top = kept.origin.y + kept.size.height;
        [window setFrame:NSMakeRect(kept.origin.x, top - size.height, size.width, size.height) display:YES];
    }
    [window setFrameAutosaveName:name];
}

void showStandardAboutPanel(const std::string &applicationName, const std::string &credits, int iconSize) {
    NSImage *icon = [NSApp.applicationIconImage copy];
    icon.size = NSMakeSize(iconSize, iconSize);
    NSMutableDictionary<NSString *, id> *options = [NSMutableDictionary dictionary];
    options[NSAboutPanelOptionApplicationName] = nsString(applicationName);
    options[NSAboutPanelOptionApplicationVersion] = bundleText(@"CFBundleShortVersionString");
    options[NSAboutPanelOptionVersion] = bundleText(@"CFBundleVersion");
    options[NSAboutPanelOptionCredits] = centredCredits(credits);
    if (icon)
        options[NSAboutPanelOptionApplicationIcon] = icon;
    [NSApp orderFrontStandardAboutPanelWithOptions:options];
    activateApplication();
}

} // namespace corvane
