#include "detail/CallSite.h"

#include "detail/NeverDestroyed.h"

#include <list>
#include <mutex>
#include <string>

namespace kf::detail {

std::string_view CallSite::methodNameIn(std::string_view prettyName) {
    const std::size_t parenthesis = prettyName.find('(');
    if (parenthesis == std::string_view::npos)
        return prettyName;
    prettyName = prettyName.substr(0, parenthesis);
    const std::size_t blank = prettyName.rfind(' ');
    return blank == std::string_view::npos ? prettyName : prettyName.substr(blank + 1);
}

// Several threads may do this at once: they all store the same values.
std::string_view CallSite::findName() const {
    const std::string_view name = m_signature ? methodNameIn(m_text) : std::string_view(m_text);
    m_length.store(static_cast<std::uint32_t>(name.size()), std::memory_order_relaxed);
    m_name.store(name.data(), std::memory_order_release);
    return name;
}

namespace {

/// A site with copies of its texts, since the caller's may not live long enough.
struct FoundSite {
    FoundSite(const char* className_, const char* text_, bool signature, bool isConstructor)
        : className(className_), text(text_), isSignature(signature),
          site(signature ? CallSite(text.c_str(), CallSite::Signature())
                         : CallSite(className.c_str(), text.c_str(), isConstructor)) {}

    std::string className;
    std::string text;
    bool isSignature;
    CallSite site;
};

} // namespace

CallSite& CallSite::find(const char* className, const char* text, bool signature, bool isConstructor) {
    static NeverDestroyed<std::mutex> lock;
    static NeverDestroyed<std::list<FoundSite>> list; // its elements never move
    const std::lock_guard<std::mutex> guard(lock.get());
    std::list<FoundSite>& sites = list.get();
    for (FoundSite& found : sites)
        if (found.text == text && found.className == className && found.isSignature == signature &&
            found.site.isConstructor() == isConstructor)
            return found.site;
    sites.emplace_back(className, text, signature, isConstructor);
    return sites.back().site;
}

} // namespace kf::detail
