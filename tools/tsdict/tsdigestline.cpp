#include "tsdigestline.h"

#include <cctype>
#include <cstddef>
#include <sstream>

namespace Tessel::Tools {

namespace {

constexpr std::size_t kHexDigits = 64;
constexpr const char* kSeparator = "  ";

bool needsEscape(const std::string& name) {
    return name.find_first_of("\\\n\r") != std::string::npos;
}

std::string escaped(const std::string& name) {
    std::string text;
    for (char c : name) {
        switch (c) {
        case '\\': text += "\\\\"; break;
        case '\n': text += "\\n"; break;
        case '\r': text += "\\r"; break;
        default: text += c;
        }
    }
    return text;
}

std::optional<std::string> unescaped(const std::string& text) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            name += text[i];
            continue;
        }
        if (++i == text.size())
            return std::nullopt;
        switch (text[i]) {
        case '\\': name += '\\'; break;
        case 'n': name += '\n'; break;
        case 'r': name += '\r'; break;
        default: return std::nullopt;
        }
    }
    return name;
}

} // namespace

std::string shownName(const std::string& name) {
    return needsEscape(name) ? "\\" + escaped(name) : name;
}

std::string hexOf(const Base::SkeinHash::Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}

std::string digestLine(const std::string& hex, const std::string& name) {
    return needsEscape(name) ? "\\" + hex + kSeparator + escaped(name) : hex + kSeparator + name;
}

std::optional<DigestLine> parseDigestLine(const std::string& line) {
    const bool isEscaped = !line.empty() && line.front() == '\\';
    const std::size_t start = isEscaped ? 1 : 0;
    const std::size_t nameStart = start + kHexDigits + 2;
    if (line.size() <= nameStart || line.compare(start + kHexDigits, 2, kSeparator) != 0)
        return std::nullopt;
    DigestLine entry;
    for (std::size_t i = start; i < start + kHexDigits; ++i) {
        const auto c = static_cast<unsigned char>(line[i]);
        if (!std::isxdigit(c))
            return std::nullopt;
        entry.hex += static_cast<char>(std::tolower(c));
    }
    std::optional<std::string> name = isEscaped ? unescaped(line.substr(nameStart)) : line.substr(nameStart);
    if (!name)
        return std::nullopt;
    entry.name = std::move(*name);
    return entry;
}

} // namespace Tessel::Tools
