#include "ModemFile.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace Zevo {
namespace {

constexpr off_t LARGEST_FILE = 64 * 1024; // real ones have some hundred bytes

std::string hexadecimalText(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", digits, value);
    return text;
}

std::string fourDigits(unsigned value) {
    return hexadecimalText(value, 4);
}

std::string trimmed(const std::string& text) {
    const char BLANKS[] = " \t\r";
    const std::string::size_type first = text.find_first_not_of(BLANKS);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

class Reader {
public:
    Reader(std::istream& stream, const std::string& shown) : m_path(shown), m_stream(stream) {}

    Modem read() {
        std::string line;
        while (std::getline(m_stream, line)) {
            ++m_line;
            const std::string text = trimmed(line);
            if (!text.empty() && text[0] != '#')
                readLine(text);
        }
        require(m_modem.cdRom.isKnown() || m_modem.modem.isKnown(),
                "a personality is missing: [cdrom], [modem] or both");
        for (const UsbDevice* const device : {&m_modem.cdRom, &m_modem.modem})
            require(device->isKnown() || *device == UsbDevice(), "a section without its vendor");
        return m_modem;
    }

private:
    void require(bool condition, const std::string& problem) const {
        if (!condition)
            throw std::runtime_error(m_path + ":" + std::to_string(m_line) + ": " + problem);
    }

    void readLine(const std::string& text) {
        require(std::none_of(text.begin(), text.end(),
                             [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\t'; }),
                "a control character; expected: a text file");
        if (text == "[cdrom]" || text == "[modem]") {
            requireFirst(text);
            m_section = text == "[cdrom]" ? &m_modem.cdRom : &m_modem.modem;
        } else {
            const std::string::size_type equals = text.find('=');
            require(equals != std::string::npos, "neither a section nor \"name = value\"");
            readPair(trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1)));
        }
    }

    /// Refuses a repetition: otherwise one of the two would be lost silently.
    void requireFirst(const std::string& what) {
        require(m_seen.insert(what).second, what + " stands here for the second time");
    }

    void readPair(const std::string& name, const std::string& value) {
        if (name == "name") {
            requireFirst(name);
            m_modem.name = value;
            return;
        }
        require(m_section != nullptr, "\"" + name + "\" stands before a section");
        if (name != "interface")
            requireFirst(std::string("\"") + name + "\" of " +
                         (m_section == &m_modem.cdRom ? "[cdrom]" : "[modem]"));
        if (name == "vendor")
            m_section->vendor = hexadecimal(value);
        else if (name == "product")
            m_section->product = hexadecimal(value);
        else if (name == "text")
            m_section->productText = value;
        else if (name == "manufacturer")
            m_section->manufacturer = value;
        else if (name == "serial")
            m_section->serial = value;
        else if (name == "release")
            m_section->release = fourDigits(hexadecimal(value));
        else if (name == "interface")
            m_section->interfaces.push_back(interfaceOf(value));
        else
            require(false, "unknown name \"" + name + "\"");
    }

    unsigned hexadecimal(const std::string& text, std::size_t digits = 4) const {
        const bool isNumber = !text.empty() && text.size() <= digits &&
                              text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
        require(isNumber, "\"" + text + "\" is not a hexadecimal number of up to " +
                              (digits == 4 ? "four" : "two") + " digits");
        return static_cast<unsigned>(std::stoul(text, nullptr, 16));
    }

    UsbInterface interfaceOf(const std::string& value) const {
        std::istringstream parts(value);
        std::string head;
        std::getline(parts, head, ',');
        UsbInterface result = interfaceHead(head);
        std::string function;
        while (std::getline(parts, function, ','))
            result.functions.push_back(functionOf(function));
        return result;
    }

    UsbInterface interfaceHead(const std::string& head) const {
        UsbInterface result;
        std::istringstream words(head);
        std::string usbClass, subClass, protocol;
        words >> usbClass >> subClass >> protocol >> result.driver;
        result.usbClass = hexadecimal(usbClass, 2);
        result.subClass = hexadecimal(subClass, 2);
        result.protocol = hexadecimal(protocol, 2);
        requireName(result.driver);
        requireEnd(words);
        return result;
    }

    UsbFunction functionOf(const std::string& text) const {
        UsbFunction result;
        std::istringstream words(text);
        words >> result.subsystem >> result.prefix;
        const bool isKnown = result.subsystem == "tty" || result.subsystem == "net";
        require(isKnown && !result.prefix.empty(),
                "\"" + trimmed(text) + "\" is no \"tty\" or \"net\" with a name");
        requireName(result.prefix);
        requireEnd(words);
        return result;
    }

    /// The value becomes the name of a folder on the bus.
    void requireName(const std::string& name) const {
        require(name.find('/') == std::string::npos,
                "\"" + name + "\" is no name; expected: one without a slash");
    }

    void requireEnd(std::istream& words) const {
        std::string more;
        words >> more;
        require(more.empty(), "\"" + more + "\" follows where a comma or the end of the line is expected");
    }

    std::string m_path;
    std::istream& m_stream;
    int m_line = 0;
    Modem m_modem;
    UsbDevice* m_section = nullptr;
    std::set<std::string> m_seen;
};

/// Opens no endless file, and nothing that was taken for a modem file by mistake.
std::string whyNoModemFile(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return "cannot be opened";
    if (S_ISDIR(status.st_mode))
        return "is a folder, not a file";
    if (!S_ISREG(status.st_mode))
        return "is no ordinary file";
    return status.st_size > LARGEST_FILE ? "is larger than any modem's file (64 KB)" : "";
}

std::string lineOf(const char* name, const std::string& value) {
    return value.empty() ? std::string() : std::string(name) + " = " + value + "\n";
}

std::string sectionText(const char* title, const UsbDevice& device) {
    if (!device.isKnown())
        return std::string();
    std::string text = std::string("\n[") + title + "]\n" + lineOf("vendor", fourDigits(device.vendor)) +
                       lineOf("product", fourDigits(device.product)) + lineOf("text", device.productText) +
                       lineOf("manufacturer", device.manufacturer) + lineOf("serial", device.serial);
    if (device.release != UsbDevice().release)
        text += lineOf("release", device.release);
    for (const UsbInterface& interface : device.interfaces) {
        std::string value;
        for (const unsigned number : {interface.usbClass, interface.subClass, interface.protocol})
            value += hexadecimalText(number, 2) + " ";
        value += interface.driver;
        for (const UsbFunction& function : interface.functions)
            value += ", " + function.subsystem + " " + function.prefix;
        text += lineOf("interface", trimmed(value));
    }
    return text;
}

} // namespace

Modem readModemFile(const std::string& path) {
    const std::string problem = whyNoModemFile(path);
    if (!problem.empty())
        throw std::runtime_error(path + ": " + problem);
    std::ifstream stream(path);
    if (!stream)
        throw std::runtime_error(path + ": cannot be opened");
    return readModem(stream, path);
}

Modem readModem(std::istream& stream, const std::string& shown) {
    return Reader(stream, shown).read();
}

std::string modemFileText(const Modem& modem) {
    return lineOf("name", modem.name) + sectionText("cdrom", modem.cdRom) + sectionText("modem", modem.modem);
}

} // namespace Zevo
