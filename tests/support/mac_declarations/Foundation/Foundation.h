/// The few declarations of Apple's Foundation that the product uses, with the release that each came with, written from
/// the public reference: for compiling on other systems. Nothing here has a body.
#ifndef TESTS_SUPPORT_MAC_DECLARATIONS_FOUNDATION_H
#define TESTS_SUPPORT_MAC_DECLARATIONS_FOUNDATION_H

#include <Availability.h>
#include <stdint.h>

#ifdef __LP64__
typedef long NSInteger;
typedef unsigned long NSUInteger;
#else
typedef int NSInteger;
typedef unsigned int NSUInteger;
#endif
typedef signed char BOOL;
#define YES ((BOOL)1)
#define NO ((BOOL)0)
#ifndef nil
#define nil nullptr
#endif
#define SINCE(release) __attribute__((availability(macosx, introduced = release)))

@class NSArray, NSDictionary, NSError, NSString;

__attribute__((objc_root_class))
@interface NSObject
+ (id)alloc;
- (id)init;
- (id)retain;
- (oneway void)release;
- (id)autorelease;
- (id)mutableCopy;
@end

@interface NSAutoreleasePool : NSObject
- (void)drain SINCE(10.4);
@end

@interface NSString : NSObject
+ (id)stringWithUTF8String:(const char*)bytes;
- (NSUInteger)length;
- (const char*)fileSystemRepresentation;
@end

// The classes of @"..." literals.
@interface NSSimpleCString : NSString
@end
@interface NSConstantString : NSSimpleCString
@end

@interface NSNumber : NSObject
- (unsigned long)unsignedLongValue;
@end

@interface NSArray : NSObject
+ (id)arrayWithObjects:(id)first, ... __attribute__((sentinel));
@end

@interface NSDictionary : NSObject
+ (id)dictionaryWithObject:(id)object forKey:(id)key;
- (BOOL)writeToFile:(NSString*)path atomically:(BOOL)atomically;
- (NSUInteger)filePosixPermissions;
- (NSNumber*)fileOwnerAccountID SINCE(10.2);
- (NSNumber*)fileGroupOwnerAccountID SINCE(10.2);
@end

@interface NSMutableDictionary : NSDictionary
- (void)removeObjectsForKeys:(NSArray*)keys;
@end

@interface NSFileManager : NSObject
+ (NSFileManager*)defaultManager;
- (NSString*)stringWithFileSystemRepresentation:(const char*)bytes length:(NSUInteger)length;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(BOOL*)isDirectory;
- (BOOL)isReadableFileAtPath:(NSString*)path;
- (BOOL)isWritableFileAtPath:(NSString*)path;
- (BOOL)isExecutableFileAtPath:(NSString*)path;
- (BOOL)createDirectoryAtPath:(NSString*)path
    withIntermediateDirectories:(BOOL)above
                     attributes:(NSDictionary*)attributes
                          error:(NSError**)error SINCE(10.5);
- (BOOL)copyItemAtPath:(NSString*)from toPath:(NSString*)to error:(NSError**)error SINCE(10.5);
- (NSDictionary*)attributesOfItemAtPath:(NSString*)path error:(NSError**)error SINCE(10.5);
- (BOOL)setAttributes:(NSDictionary*)attributes
         ofItemAtPath:(NSString*)path
                error:(NSError**)error SINCE(10.5);
@end

extern "C" {
NSString* NSHomeDirectory(void);
extern NSString* const NSFileOwnerAccountID;
extern NSString* const NSFileOwnerAccountName;
extern NSString* const NSFileGroupOwnerAccountID;
extern NSString* const NSFileGroupOwnerAccountName;
extern NSString* const NSFilePosixPermissions;
}

#endif
