#pragma once

#include <string>

/// Is notified of how the reader of the identity card interprets each line. For programs that check a card.
/// Reading is the same with and without it. Lines are counted from 1.
class IDCardObserver {
public:
    virtual ~IDCardObserver() = default;

    /// A pair was stored. The value is the stored one, cut at its first non-printing character.
    virtual void onPair(int line, const std::string& key, const std::string& value) = 0;
    /// The line has no key and is skipped.
    virtual void onSkipped(int line) = 0;
    /// The line holds "&": the card is refused, and nothing below is read.
    virtual void onRefused(int line) = 0;
};
