// Declarations of just the AppKit classes and selectors that are used; see Foundation.h.
#pragma once

#import <Foundation/Foundation.h>

#include <sys/types.h>

typedef NSString *NSAttributedStringKey;
extern NSAttributedStringKey const NSFontAttributeName;
extern NSAttributedStringKey const NSForegroundColorAttributeName;
extern NSAttributedStringKey const NSParagraphStyleAttributeName;

@interface NSFont : NSObject
+ (NSFont *)systemFontOfSize:(CGFloat)size;
@end

@interface NSColor : NSObject
@property(class, readonly) NSColor *secondaryLabelColor;
@end

typedef NSInteger NSTextAlignment;
enum : NSTextAlignment { NSTextAlignmentLeft = 0, NSTextAlignmentCenter = 1 };

@interface NSMutableParagraphStyle : NSObject
@property NSTextAlignment alignment;
@end

typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} NSSize;
static inline NSSize NSMakeSize(CGFloat width, CGFloat height) {
    return NSSize{width, height};
}

typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} NSPoint;
typedef struct CGRect {
    NSPoint origin;
    NSSize size;
} NSRect;
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return NSRect{{x, y}, {width, height}};
}

typedef NSString *NSWindowFrameAutosaveName;

@interface NSWindow : NSObject
@property(readonly) NSRect frame;
- (void)setFrame:(NSRect)frame display:(BOOL)flag;
- (BOOL)setFrameUsingName:(NSWindowFrameAutosaveName)name;
- (BOOL)setFrameAutosaveName:(NSWindowFrameAutosaveName)name;
@end

@interface NSView : NSObject
@property(readonly, assign) NSWindow *window;
@end

@interface NSImage : NSObject <NSCopying>
@property NSSize size;
@property(readonly, copy) NSData *TIFFRepresentation;
@end

typedef NSUInteger NSBitmapImageFileType;
enum : NSBitmapImageFileType { NSBitmapImageFileTypePNG = 4 };
typedef NSString *NSBitmapImageRepPropertyKey;

@interface NSBitmapImageRep : NSObject
+ (instancetype)imageRepWithData:(NSData *)data;
- (NSData *)representationUsingType:(NSBitmapImageFileType)type
                         properties:(NSDictionary<NSBitmapImageRepPropertyKey, id> *)properties;
@end

typedef NSUInteger NSEventModifierFlags;
enum : NSEventModifierFlags { NSEventModifierFlagOption = 1 << 19, NSEventModifierFlagCommand = 1 << 20 };

@class NSMenu;

@interface NSMenuItem : NSObject
@property(class, readonly) NSMenuItem *separatorItem;
- (instancetype)initWithTitle:(NSString *)title action:(SEL)action keyEquivalent:(NSString *)key;
@property(weak) id target;
@property NSEventModifierFlags keyEquivalentModifierMask;
@property(strong) NSMenu *submenu;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString *)title;
- (void)addItem:(NSMenuItem *)item;
@end

typedef NSString *NSAppearanceName;
extern NSAppearanceName const NSAppearanceNameDarkAqua;

@interface NSAppearance : NSObject
+ (NSAppearance *)appearanceNamed:(NSAppearanceName)name;
@end

typedef NSInteger NSApplicationActivationPolicy;
enum : NSApplicationActivationPolicy { NSApplicationActivationPolicyRegular = 0 };
typedef NSString *NSAboutPanelOptionKey;
extern NSAboutPanelOptionKey const NSAboutPanelOptionApplicationName;
extern NSAboutPanelOptionKey const NSAboutPanelOptionApplicationVersion;
extern NSAboutPanelOptionKey const NSAboutPanelOptionVersion;
extern NSAboutPanelOptionKey const NSAboutPanelOptionCredits;
extern NSAboutPanelOptionKey const NSAboutPanelOptionApplicationIcon;

@interface NSDockTile : NSObject
@property(copy, nullable) NSString *badgeLabel;
@end

@interface NSApplication : NSObject
@property(readonly, strong) NSDockTile *dockTile;
@property(class, readonly) NSApplication *sharedApplication;
@property(strong) NSAppearance *appearance;
@property(strong) NSMenu *mainMenu;
@property(strong) NSImage *applicationIconImage;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)activateIgnoringOtherApps:(BOOL)ignoreOthers;
- (void)orderFrontStandardAboutPanelWithOptions:(NSDictionary<NSAboutPanelOptionKey, id> *)options;
- (void)hide:(id)sender;
- (void)hideOtherApplications:(id)sender;
- (void)unhideAllApplications:(id)sender;
- (void)terminate:(id)sender;
@end
extern NSApplication *NSApp;

@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication *> *)runningApplicationsWithBundleIdentifier:(NSString *)identifier;
@property(readonly) pid_t processIdentifier;
@property(readonly, getter=isTerminated) BOOL terminated;
- (BOOL)terminate;
- (BOOL)forceTerminate;
@end
