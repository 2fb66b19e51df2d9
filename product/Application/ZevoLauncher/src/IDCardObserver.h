#pragma once

#include <string>

/// Is told what the reader of the identity card makes of each line: for whoever checks a card. Reading is the same
/// with and without one. Lines are counted from 1.
class IDCardObserver {
public:
    virtual ~IDCardObserver() = default;

    /// A pair was stored. The value is what the card counts as such, cut where it ends.
    virtual void onPair(int line, const std::string& key, const std::string& value) = 0;
    /// The line has no key and is passed over.
    virtual void onSkipped(int line) = 0;
    /// The line holds "&": the card is refused, and nothing below is read.
    virtual void onRefused(int line) = 0;
};
