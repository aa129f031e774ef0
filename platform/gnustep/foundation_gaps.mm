#import "platform/gnustep/foundation_gaps.h"

@implementation NSFileManager (FoundationGaps)
- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error
{
    if (error != NULL) {
        *error = nil;
    }
    return [self changeFileAttributes:attributes atPath:path];
}
@end

@interface FoundationPreparation : NSObject
@end

@implementation FoundationPreparation
// Runs when the program starts or the plug-in is loaded, before the process enters another root: GNUstep reads its
// configuration, the user's defaults and the time zone at their first use.
+ (void)load
{
    NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
    [NSTimeZone localTimeZone];
    // XML property lists, not old-style ones. Only for this process: registering writes no file.
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"YES" forKey:@"GSMacOSXCompatible"]];
    [pool drain];
}
@end
