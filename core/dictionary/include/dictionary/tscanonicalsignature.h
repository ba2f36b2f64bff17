#ifndef TESSEL_DICTIONARY_TSCANONICALSIGNATURE_H
#define TESSEL_DICTIONARY_TSCANONICALSIGNATURE_H

/// @file
/// Content signatures that mean content: the same labels and the same content give the same
/// digest in every process, build and platform, whatever order the keys were interned in, and
/// different content gives a different digest. The byte encoding (version 1) is described in
/// docs/canonical-signature.md.
///
///     Dictionary clip;
///     clip["width"].set(1920);
///     clip["height"].set(1080);
///     Tessel::Base::SkeinHash::Digest id = canonicalSignature(clip);
///     std::cout << id << '\n';   // the same text in any process that builds this content
///
/// Content is not operator==: 25/1 and 50/2 compare equal but sign differently, -0.0 and 0.0
/// sign differently, and every NaN of a type signs the same. A host type contributes what its
/// own signature slot feeds, so it is told apart exactly as finely as that feed.

#include <foundation/tsexport.h>
#include <foundation/tsskeinhash.h>

namespace Tessel::Dictionary {

class Any;
class Dictionary;

/// The version of the byte encoding, its first byte.
inline constexpr unsigned char kCanonicalSignatureVersion = 1;

/// The Skein-256 digest of the canonical encoding of `value`. Values nested to any depth are
/// signed without deep recursion. A value must not contain itself.
TS_API Base::SkeinHash::Digest canonicalSignature(const Any& value);

/// The canonical signature of an Any holding `dictionary`, without copying it.
TS_API Base::SkeinHash::Digest canonicalSignature(const Dictionary& dictionary);

} // namespace Tessel::Dictionary

#endif
