#ifndef TESSEL_TOOLS_TSDICT_TSDIGESTLINE_H
#define TESSEL_TOOLS_TSDICT_TSDIGESTLINE_H

// The lines of tsdict sign: "<64 hex digits>  <name>". A name holding a backslash or a line break
// is written escaped ("\\", "\n", "\r") on a line that starts with "\", so every name fits on
// one line and reads back exactly.

#include <foundation/tsskeinhash.h>

#include <optional>
#include <string>

namespace Tessel::Tools {

/// One line read back: the digest in lower-case hex and the file name, unescaped.
struct DigestLine {
    std::string hex;
    std::string name;
};

/// `name` as a line shows it: escaped, with a leading "\", when it needs escaping.
std::string shownName(const std::string& name);

/// `digest` as 64 lower-case hex digits.
std::string hexOf(const Base::SkeinHash::Digest& digest);

/// The line of a digest (64 hex digits) and a file name.
std::string digestLine(const std::string& hex, const std::string& name);

/// The digest and name of `line` (without its line break), or nothing when it is no such line:
/// not 64 hex digits of either case, no two blanks after them, no name, or a bad escape.
std::optional<DigestLine> parseDigestLine(const std::string& line);

} // namespace Tessel::Tools

#endif
