#include "Page.h"

#include "FileSystemManagement.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace Zevo {
namespace {

// Forbids the browser to load anything from elsewhere, whatever the viewer may request.
constexpr std::string_view POLICY =
    R"(<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src 'unsafe-inline' 'wasm-unsafe-eval'; )"
    R"(style-src 'unsafe-inline'; font-src data:; img-src data:">)";

// The viewer reads a profile from a script if the page's address requests one; the next script but one is
// that script. Other parts of the address, such as "#view=sandwich", stay.
constexpr std::string_view ASK_FOR_PROFILE = R"(<script>
if (!location.hash.includes("localProfilePath="))
    location.hash += (location.hash.length > 1 ? "&" : "") + "localProfilePath=in-this-page";
</script>
)";
constexpr std::string_view HAND_OVER =
    "<script>speedscope.loadFileFromBase64(\"trace.speedscope.json.gz\", \"";
constexpr std::string_view HANDED_OVER = "\");</script>";

std::string base64(std::string_view bytes) {
    constexpr const char* const DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        unsigned block = 0;
        for (std::size_t k = 0; k < 3; ++k)
            block = block << 8U | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? DIGITS[block >> (18 - 6 * k) & 63U] : '=';
    }
    return text;
}

/// Compresses its input with gzip and passes it on as base64.
class Packer {
public:
    explicit Packer(const Sink& sink) : m_sink(sink), m_archive(archive_write_new()) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                             &archive_entry_free);
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        require(archive_write_set_format_raw(m_archive.get()));
        require(archive_write_add_filter_gzip(m_archive.get()));
        // The same trace gives the same page.
        require(archive_write_set_filter_option(m_archive.get(), "gzip", "timestamp", nullptr));
        require(archive_write_set_bytes_per_block(m_archive.get(), 0));
        require(archive_write_open(m_archive.get(), this, nullptr, &Packer::take, nullptr));
        require(archive_write_header(m_archive.get(), entry.get()));
    }

    void add(std::string_view bytes) {
        while (!bytes.empty()) {
            const la_ssize_t length = archive_write_data(m_archive.get(), bytes.data(), bytes.size());
            require(static_cast<int>(std::min<la_ssize_t>(length, 0)));
            bytes.remove_prefix(static_cast<std::size_t>(length));
        }
    }

    void finish() {
        require(archive_write_close(m_archive.get()));
        m_sink(base64(m_rest));
    }

private:
    static la_ssize_t take(archive* /*packed*/, void* self, const void* bytes, std::size_t length) {
        static_cast<Packer*>(self)->take({static_cast<const char*>(bytes), length});
        return static_cast<la_ssize_t>(length);
    }

    // Three bytes make four digits: the rest waits.
    void take(std::string_view bytes) {
        m_rest += bytes;
        const std::size_t whole = m_rest.size() / 3 * 3;
        m_text += base64(std::string_view(m_rest).substr(0, whole));
        m_rest.erase(0, whole);
    }

    void require(int result) {
        if (result < ARCHIVE_WARN)
            throw std::runtime_error(std::string("the profile cannot be packed: ") +
                                     archive_error_string(m_archive.get()));
        // Not within take(): an exception of a sink must not pass through a library that knows no exceptions.
        m_sink(m_text);
        m_text.clear();
    }

    struct Free {
        void operator()(archive* packed) const { archive_write_free(packed); }
    };
    const Sink& m_sink;
    std::string m_rest, m_text;
    std::unique_ptr<archive, Free> m_archive;
};

/// The files of the viewer; messages name each with its folder.
class Viewer {
public:
    explicit Viewer(const std::string& folder) : m_folder(folder) {}

    std::string read(const std::string& name) const {
        const std::string path = m_folder + "/" + name;
        std::ifstream file(path, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        if (!file.is_open() || text.empty())
            throw std::runtime_error(
                path + " cannot be read: a page needs speedscope, the viewer that npm has. The Debian "
                       "package brings it along; in a source tree `./zevo test` gets it, then build "
                       "and install again");
        return text;
    }

    /// Removes "BEGIN name END" from the text; stores its position in `place`, returns its name.
    std::string cut(std::string& text, std::string_view begin, std::string_view end,
                    std::size_t& place) const {
        place = text.find(begin);
        const std::size_t name = place == std::string::npos ? place : place + begin.size();
        const std::size_t behind = name == std::string::npos ? name : text.find(end, name);
        if (behind == std::string::npos)
            throw std::runtime_error(m_folder +
                                     "/index.html is not one of the viewer's that this program knows: " +
                                     std::string(begin) + "..." + std::string(end) + " is expected in it");
        std::string result = text.substr(name, behind - name);
        text.erase(place, behind + end.size() - place);
        return result;
    }

private:
    std::string m_folder;
};

void replaceAll(std::string& text, std::string_view what, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
}

/// The style sheet with its font embedded.
std::string styleOf(const Viewer& viewer, const std::string& name) {
    constexpr std::string_view BEGIN = "url(\"./", END = "\")";
    std::string style = viewer.read(name);
    for (std::size_t at = 0; (at = style.find(BEGIN, at)) != std::string::npos;) {
        const std::size_t end = std::min(style.find(END, at), style.size());
        const std::string font = viewer.read(style.substr(at + BEGIN.size(), end - at - BEGIN.size()));
        const std::string data = "url(\"data:font/woff2;base64," + base64(font);
        style.replace(at, end - at, data);
        at += data.size();
    }
    return style;
}

} // namespace

std::string Page::viewerBesideProgram() {
    return FileSystemManagement::getCurrentExecutableDirectory() + ZEVO_VIEWER_FROM_HERE;
}

Page::Page(const std::string& viewerFolder) {
    const Viewer viewer(viewerFolder);
    std::string page = viewer.read("index.html");
    std::size_t place = 0;
    const std::string style =
        styleOf(viewer, viewer.cut(page, "<link rel=\"stylesheet\" href=\"", "\">", place));
    page.insert(place, "<style>\n" + style + "</style>");
    while (page.find("<link rel=\"icon\"") != std::string::npos)
        viewer.cut(page, "<link rel=\"icon\"", ">", place);
    viewer.cut(page, "<meta charset=\"", "\">", place);
    page.insert(place, "<meta charset=\"UTF-8\">\n    " + std::string(POLICY));
    std::string licences = viewer.read("LICENSE") + "\n" + viewer.read("source-code-pro.LICENSE.md");
    replaceAll(licences, "--", "- -"); // it would end the comment
    const std::string script = viewer.cut(page, "<script src=\"", "\"></script>", place);
    std::string code = viewer.read(script);
    replaceAll(code, "</script", "<\\/script");
    m_beforeProfile = page.substr(0, place);
    m_beforeProfile += "<!-- The viewer, and the font in it:\n" + licences + "-->\n";
    m_beforeProfile += ASK_FOR_PROFILE;
    m_beforeProfile += "<script>\n" + code + "</script>\n";
    m_beforeProfile += HAND_OVER;
    m_behindProfile = HANDED_OVER;
    m_behindProfile += page.substr(place);
}

void Page::write(const Sink& sink, const std::function<void(const Sink&)>& writeProfile) const {
    sink(m_beforeProfile);
    Packer packer(sink);
    writeProfile([&](std::string_view text) { packer.add(text); });
    packer.finish();
    sink(m_behindProfile);
}

} // namespace Zevo
