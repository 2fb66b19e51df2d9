#import <Foundation/Foundation.h>

// GNUstep's isLike: always returns NO. This one does what macOS documents: "*" matches any run of characters,
// "?" one character.

static BOOL matches(NSString* text, NSString* pattern) {
    NSUInteger t = 0, p = 0;
    const NSUInteger textLength = [text length];
    const NSUInteger patternLength = [pattern length];
    NSUInteger star = NSNotFound;
    NSUInteger starText = 0;
    while (t < textLength) {
        const unichar wanted = p < patternLength ? [pattern characterAtIndex:p] : 0;
        if (wanted == '*') {
            star = p++;
            starText = t;
        } else if (p < patternLength && (wanted == '?' || wanted == [text characterAtIndex:t])) {
            ++t;
            ++p;
        } else if (star != NSNotFound) {
            p = star + 1;
            t = ++starText;
        } else {
            return NO;
        }
    }
    while (p < patternLength && [pattern characterAtIndex:p] == '*')
        ++p;
    return p == patternLength;
}

@interface NSString (IsLike)
- (BOOL)isLike:(NSString*)pattern;
@end

@implementation NSString (IsLike)
- (BOOL)isLike:(NSString*)pattern {
    return pattern != nil && matches(self, pattern);
}
@end
