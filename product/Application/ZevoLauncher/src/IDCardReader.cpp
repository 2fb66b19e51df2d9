#include "IDCardReader.h"

#include "CallMarker.h"
#include "IDCardObserver.h"
#include "detail/SmallFile.h"

#include <algorithm>

using namespace kf::detail;

namespace {

/// isprint() of the "C" locale, whatever locale the process has set.
bool isPrinting(char c) {
    return c >= ' ' && c <= '~';
}

std::string cutAtFirstNonPrinting(const std::string& text) {
    return std::string(text.begin(), std::find_if_not(text.begin(), text.end(), isPrinting));
}

} // namespace

IDCardReader::IDCardReader(std::string folder) : m_folder(folder) {
    TRACE_CONSTRUCTOR("IDCardReader");
}

IDCardReader::~IDCardReader() {
    TRACE_DESTRUCTOR("IDCardReader");
}

bool IDCardReader::readIDCard(IDCardObserver* observer) {
    TRACE_METHOD();
    std::string content;
    std::string refusal;
    SmallFile::read(m_folder + FILE_NAME, SmallFile::CONFIGURATION_LIMIT, content, refusal);
    bool stored = false;
    int number = 0;
    std::string::size_type end = 0;
    for (std::string::size_type begin = 0; begin < content.size(); begin = end + 1) {
        end = std::min(content.find('\n', begin), content.size());
        const std::string line = content.substr(begin, end - begin);
        ++number;
        // DELIBERATE: a card that contains "&" anywhere is refused, even in what is meant as a comment.
        if (line.find('&') != std::string::npos) {
            if (observer != nullptr)
                observer->onRefused(number);
            return false;
        }
        if (storePair(line, number, observer))
            stored = true;
    }
    return stored;
}

/// Returns false if the line has an empty key.
bool IDCardReader::storePair(const std::string& line, int number, IDCardObserver* observer) {
    TRACE_METHOD();
    const std::string::size_type equals = line.find('=');
    // A line without "=" is its own key and value.
    const std::string key = line.substr(0, equals);
    const std::string value = equals == std::string::npos ? line : line.substr(equals + 1);
    if (key.empty()) {
        if (observer != nullptr)
            observer->onSkipped(number);
        return false;
    }
    std::string& stored = m_params[key];
    stored = cutAtFirstNonPrinting(value);
    if (observer != nullptr)
        observer->onPair(number, key, stored);
    return true;
}

std::string IDCardReader::getParam(const std::string& key) {
    TRACE_METHOD();
    const auto found = m_params.find(key);
    return found == m_params.end() ? std::string() : found->second;
}

std::map<std::string, std::string> IDCardReader::getIDCardParams() {
    TRACE_METHOD();
    return m_params;
}

std::string IDCardReader::getFleetID() {
    TRACE_METHOD();
    return getParam("FLEET_ID");
}

std::string IDCardReader::getCustomerID() {
    TRACE_METHOD();
    return getParam("CUSTOMER_ID");
}

std::string IDCardReader::getGenerationVersion() {
    TRACE_METHOD();
    return getParam("GENERATION_VERSION");
}

std::string IDCardReader::getZevoAdministrationTool() {
    TRACE_METHOD();
    return getParam("IT_MANAGER");
}

std::string IDCardReader::getBUName() {
    TRACE_METHOD();
    return getParam("BU_NAME");
}

std::string IDCardReader::getReferenceVersion() {
    TRACE_METHOD();
    return getParam("REFERENCE_VERSION");
}

std::string IDCardReader::getProductName() {
    TRACE_METHOD();
    return getParam("PRODUCT_NAME");
}

std::string IDCardReader::getBuildTarget() {
    TRACE_METHOD();
    return getParam("BUILD_TARGET");
}

std::string IDCardReader::getCommercialVersion() {
    TRACE_METHOD();
    return getParam("COMMERCIAL_VERSION");
}

std::string IDCardReader::getProductVersion() {
    TRACE_METHOD();
    return getParam("PRODUCT_VERSION");
}

std::string IDCardReader::getUpgradeCode() {
    TRACE_METHOD();
    return getParam("UPGRADE_CODE");
}
