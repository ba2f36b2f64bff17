# Library sources, listed explicitly so that a new file is a reviewed change of the build.
set(TSD_FOUNDATION_SOURCES
  foundation/src/tsnameatom.cpp
  foundation/src/tsreadabletypename.cpp
  foundation/src/tsexception.cpp
  foundation/src/tsexceptionreport.cpp
  foundation/src/tsskeinhash.cpp
  foundation/src/tstimebase.cpp
  foundation/src/tstimecode.cpp
)
set(TSD_DICTIONARY_SOURCES
  core/dictionary/src/tsany.cpp
  core/dictionary/src/tsdictionary.cpp
  core/dictionary/src/tsanytypemanagement.cpp
  core/dictionary/src/tsanytypeimplementations.cpp
  core/dictionary/src/tsnestedvalues.cpp
  core/dictionary/src/tsnestedassignment.cpp
)
# Key paths and checked text (parseExact, exactText).
list(APPEND TSD_DICTIONARY_SOURCES
  core/dictionary/src/tsanypath.cpp
  core/dictionary/src/tsanyparseexact.cpp
)
# Canonical signature and exact assignment.
list(APPEND TSD_DICTIONARY_SOURCES
  core/dictionary/src/tscanonicalsignature.cpp
  core/dictionary/src/tsanyexact.cpp
)
# The JSON bridge (reads through nlohmann's SAX parser, linked privately).
list(APPEND TSD_DICTIONARY_SOURCES
  core/dictionary/src/tsjsonsupport.cpp
  core/dictionary/src/tsjsonwrite.cpp
  core/dictionary/src/tsjsonread.cpp
)
