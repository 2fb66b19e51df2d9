#pragma once

#include <cstddef>
#include <map>
#include <string>

class IDCardObserver;

/// Reads the identity card: the file "ID.txt" of "KEY=VALUE" lines, which identifies the build and the
/// customer configuration of this installation. An ordinary object; one thread at a time.
///
/// A key is everything before the first "=", blanks and letter case included; a value ends at its first
/// non-printing character, so carriage returns never become part of it. A line without "=" is its own key and
/// value. Lines with an empty key are skipped; a later line replaces an earlier one of the same key.
class IDCardReader {
public:
    static constexpr char FILE_NAME[] = "ID.txt";

    /// The file's name is appended to `folder`, so that ends with a separator. Reads nothing yet.
    explicit IDCardReader(std::string folder);
    virtual ~IDCardReader();

    /// Reads the card, in addition to what earlier calls have read. True if at least one pair was stored and
    /// no line contained "&"; at such a line the reading ends, and the pairs before it stay.
    bool readIDCard() { return readIDCard(nullptr); }
    /// The same.
    /// @param observer  borrowed; notified of the lines
    bool readIDCard(IDCardObserver* observer);

    /// The value of a key, or an empty text.
    std::string getParam(const std::string& key);
    /// A copy of all pairs.
    std::map<std::string, std::string> getIDCardParams();

    std::string getFleetID();                // FLEET_ID
    std::string getCustomerID();             // CUSTOMER_ID
    std::string getGenerationVersion();      // GENERATION_VERSION
    std::string getZevoAdministrationTool(); // IT_MANAGER
    std::string getBUName();                 // BU_NAME
    std::string getReferenceVersion();       // REFERENCE_VERSION
    std::string getProductName();            // PRODUCT_NAME
    std::string getBuildTarget();            // BUILD_TARGET
    std::string getCommercialVersion();      // COMMERCIAL_VERSION
    std::string getProductVersion();         // PRODUCT_VERSION
    std::string getUpgradeCode();            // UPGRADE_CODE

private:
    bool storePair(const std::string& line, int number, IDCardObserver* observer);

    std::string m_folder;
    std::map<std::string, std::string> m_params;
};
