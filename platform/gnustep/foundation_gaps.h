// What GNUstep's Foundation lacks. Included before platform/mac/foundation.mm when that is built with it.
#ifndef PLATFORM_GNUSTEP_FOUNDATION_GAPS_H
#define PLATFORM_GNUSTEP_FOUNDATION_GAPS_H

#import <Foundation/Foundation.h>

@interface NSFileManager (FoundationGaps)
- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error;
@end

#endif
