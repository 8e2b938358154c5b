// Declarations of just the Foundation classes and selectors that are used, written from Apple's
// documentation, so that Objective-C++ can be compiled on Linux. The lists in cmake/macos/sdk are what it is
// linked with there.
#pragma once

#include <stddef.h>

#if defined(__OBJC_BOOL_IS_BOOL) && __OBJC_BOOL_IS_BOOL
typedef bool BOOL; // on Apple's processors
#else
typedef signed char BOOL;
#endif
typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef double CGFloat;
typedef NSUInteger NSStringEncoding;
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#define nil nullptr
enum : NSStringEncoding { NSUTF8StringEncoding = 4 };

@protocol NSObject
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)respondsToSelector:(SEL)selector;
@end

@protocol NSCopying
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
- (instancetype)init;
- (id)copy;
+ (Class)class;
@end

@interface NSString : NSObject <NSCopying>
- (instancetype)initWithBytes:(const void *)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding;
@property(readonly) const char *UTF8String;
- (BOOL)isEqualToString:(NSString *)other;
@end

@interface NSConstantString : NSString
@end

typedef struct {
    unsigned long state;
    id __unsafe_unretained *itemsPtr;
    unsigned long *mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState *)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length;
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSFastEnumeration>
@property(readonly) ObjectType firstObject;
@end

@interface NSDictionary<KeyType, ObjectType> : NSObject
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects
                              forKeys:(const KeyType<NSCopying>[])keys
                                count:(NSUInteger)count;
@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
+ (instancetype)dictionary;
- (void)setObject:(ObjectType)object forKeyedSubscript:(KeyType<NSCopying>)key;
@end

@interface NSData : NSObject <NSCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void *bytes;
@end

@interface NSURL : NSObject
@property(readonly) NSString *path;
@end

@interface NSBundle : NSObject
@property(class, readonly) NSBundle *mainBundle;
@property(readonly) NSString *bundleIdentifier;
- (id)objectForInfoDictionaryKey:(NSString *)key;
@end

typedef NSUInteger NSSearchPathDirectory;
typedef NSUInteger NSSearchPathDomainMask;
enum : NSSearchPathDirectory { NSMusicDirectory = 18 };
enum : NSSearchPathDomainMask { NSUserDomainMask = 1 };

@interface NSFileManager : NSObject
@property(class, readonly) NSFileManager *defaultManager;
@property(readonly) NSURL *homeDirectoryForCurrentUser;
- (NSArray<NSURL *> *)URLsForDirectory:(NSSearchPathDirectory)directory
                             inDomains:(NSSearchPathDomainMask)domains;
@end

@interface NSUserDefaults : NSObject
@property(class, readonly) NSUserDefaults *standardUserDefaults;
- (instancetype)initWithSuiteName:(NSString *)suiteName;
- (NSString *)stringForKey:(NSString *)key;
- (void)setObject:(id)value forKey:(NSString *)key;
@end

@interface NSHost : NSObject
+ (instancetype)currentHost;
@property(readonly) NSString *localizedName;
@end

typedef unsigned long long NSActivityOptions;
enum : NSActivityOptions {
    NSActivityIdleSystemSleepDisabled = 1ULL << 20,
    NSActivityUserInitiated = 0x00FFFFFFULL | NSActivityIdleSystemSleepDisabled,
    NSActivityUserInitiatedAllowingIdleSystemSleep =
        NSActivityUserInitiated & ~NSActivityIdleSystemSleepDisabled,
    NSActivityLatencyCritical = 0xFF00000000ULL
};

@interface NSProcessInfo : NSObject
@property(class, readonly) NSProcessInfo *processInfo;
@property(readonly) NSString *operatingSystemVersionString;
- (id)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString *)reason;
- (void)endActivity:(id)activity;
@end

@interface NSAttributedString : NSObject
- (instancetype)initWithString:(NSString *)text attributes:(NSDictionary<NSString *, id> *)attributes;
@end
