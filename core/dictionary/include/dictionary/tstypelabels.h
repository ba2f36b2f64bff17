#ifndef TESSEL_DICTIONARY_TSTYPELABELS_H
#define TESSEL_DICTIONARY_TSTYPELABELS_H

/// @file
/// The labels of the sixteen built-in value types, interned once when the library is loaded.
///
///     Any value = 2.5;
///     bool isDouble = value.type()->label() == gTypeLabelDouble;          // true
///     const AnyType* strings = AnyTypeRegistry::typeByLabel(gTypeLabelString);
///     std::cout << gTypeLabelTimeBase;                                     // "timebase"

#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

namespace Tessel::Dictionary {

class AnyType;

/// Labels of the built-in value types. They are interned while the library loads, in this
/// order, so in a fresh process "bool" has index 1 and "timebase" index 16 under the AnyType tag.
extern TS_API const Base::NameAtom<AnyType> gTypeLabelBool;          ///< "bool"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelChar;          ///< "char"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelInt8;          ///< "int8"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelUnsignedInt8;  ///< "uint8"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelInt16;         ///< "int16"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelUnsignedInt16; ///< "uint16"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelInt32;         ///< "int32"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelUnsignedInt32; ///< "uint32"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelInt64;         ///< "int64"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelUnsignedInt64; ///< "uint64"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelFloat;         ///< "float"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelDouble;        ///< "double"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelString;        ///< "string"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelDictionary;    ///< "dictionary"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelVector;        ///< "vector"
extern TS_API const Base::NameAtom<AnyType> gTypeLabelTimeBase;      ///< "timebase"

} // namespace Tessel::Dictionary

#endif
