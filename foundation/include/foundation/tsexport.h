#ifndef TESSEL_FOUNDATION_TSEXPORT_H
#define TESSEL_FOUNDATION_TSEXPORT_H

/// @file
/// TS_API, the mark of everything libTsDictionary exports, and the check that a host compiles
/// the headers as C++17 or later. Every public header includes it; a host needs it only to
/// export classes of its own the same way.
///
///     class TS_API Registry;                         // exported from the library
///     TS_API std::string readableTypeName(const char* rawName);
///     // g++ -std=c++14 host.cpp: "#error TsDictionary's headers need C++17 or later: ..."

// Every public header reaches this one. They need C++17 or later; say so at once rather than
// through the first C++17 construct an older standard trips over.
#if __cplusplus < 201703L
#error "TsDictionary's headers need C++17 or later: compile with -std=c++17 or a later standard"
#endif

/// Marks a class, function or object as part of the public ABI of libTsDictionary.
/// The library is built with hidden default visibility; only what carries this mark is exported.
/// The same mark serves hosts that include the headers, so type information of exported classes
/// is shared across the library boundary (exceptions thrown inside are caught by their class).
#if defined(__GNUC__) || defined(__clang__)
#define TS_API __attribute__((visibility("default")))
#else
#define TS_API
#endif

#endif
