#!/usr/bin/env bash
# Plants single-line faults in the library one at a time and checks that the test suite notices.
# For each fault: replace one exact text in one source file, build incrementally, run ctest, put
# the file back. A fault is "killed" when the build still succeeds and at least one test fails;
# "survived" when every test passes; "invalid" when the planted text no longer exists or the
# mutant does not compile (the list needs updating then, it is not counted either way).
#
#   scripts/mutation-check.sh [--list] [--jobs J] [ID...]
#
#   --list    print the faults and exit
#   --jobs J  parallel build and test jobs (default 2)
#   ID...     only these faults; shell patterns work ('atom-*') (default: all)
#
# TSD_MUTATION_CTEST_ARGS adds arguments to every ctest call, e.g. -R '^Skein' to ask whether one
# suite alone catches a fault.
# Uses its own build tree, build/mutation (Release, GCC; the C++ suites only, without the Python
# package, the command-line tool and the reference), so other builds are left alone.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=2
list_only=0
only=()
while (($#)); do
  case $1 in
    --list) list_only=1 ;;
    --jobs) jobs=$2; shift ;;
    -h|--help) sed -n '2,14p' "$0"; exit 0 ;;
    -*) echo "unknown option: $1" >&2; exit 2 ;;
    *) only+=("$1") ;;
  esac
  shift
done

# id @ file @ exact text (must occur once; \n for a line break) @ replacement @ what it breaks
faults=$(cat <<'LIST'
atom-find@foundation/src/tsnameatom.cpp@return find(text).value_or(0U);@return find(text).value_or(1U);@an unknown text is found as index 1
atom-index@foundation/src/tsnameatom.cpp@const auto newIndex = static_cast<std::uint32_t>(textByIndex.size());@const auto newIndex = static_cast<std::uint32_t>(textByIndex.size() + 1);@a new text gets an index one too high
atom-last@foundation/src/tsnameatom.cpp@return entryCount.load(std::memory_order_acquire) - 1;@return entryCount.load(std::memory_order_acquire);@lastIndex is the count, not the highest index
atom-order@foundation/include/foundation/tsnameatom.h@return a.index < b.index; }@return a.index > b.index; }@atoms order by reverse interning
atom-nul@foundation/include/foundation/tsnameatom.h@getManager().intern(std::string_view(text))) {}@getManager().intern(std::string_view(text.c_str()))) {}@a std::string key is cut at an embedded NUL
exc-marker@foundation/src/tsexception.cpp@pos = close + kMarkerLength;@pos = close + 1;@the close marker's tail is copied into the message
exc-unknown@foundation/src/tsexception.cpp@os << '(' << key << " unknown)";@os << '(' << key << "unknown)";@an unknown placeholder reads without its blank
exc-replace@foundation/src/tsexception.cpp@if (found != mItems.end()) {@if (found == mItems.end() && false) {@an item with a known key does not replace the old one
exc-clone@foundation/src/tsexception.cpp@            if (copy) {@            if (!copy) {@copies of an exception lose their items
exc-usermessage@foundation/src/tsexception.cpp@return getFilledString("UserMessage");@return getFilledString("UserSummary");@userMessage reads the summary template
exc-chain-order@foundation/src/tsexceptionreport.cpp@chain.emplace_front(earlier);@chain.emplace_back(earlier);@the earlier exception goes behind its own chain
exc-filled@foundation/src/tsexceptionreport.cpp@copy << ExceptionInfo<std::string>("FilledUserMessage", earlier.userMessage());@copy << ExceptionInfo<std::string>("FilledUserMessage", earlier.userTitle());@the recorded filled message is the wrong one
report-step@foundation/src/tsexceptionreport.cpp@indentation += 2;@indentation += 4;@nested sections indent by four
report-item@foundation/src/tsexceptionreport.cpp@os << "  [" << key << "] = ";@os << " [" << key << "] = ";@decoration lines lose a blank
report-site@foundation/src/tsexceptionreport.cpp@return key == "ExceptionClass" || key == "ThrowFile" || key == "ThrowLine" ||@return key == "ExceptionClass" || key == "ThrowFile" ||@the throw line is repeated among the decoration
typename-comma@foundation/src/tsreadabletypename.cpp@boost::algorithm::replace_all(name, ",", ", ");@boost::algorithm::replace_all(name, ",", ",");@no blank after commas
typename-pointer@foundation/src/tsreadabletypename.cpp@boost::algorithm::replace_all(name, "*", " *");@boost::algorithm::replace_all(name, "*", "*");@no blank before a pointer star
typename-demangle@foundation/src/tsreadabletypename.cpp@if (status != 0 || !demangled) {@if (status == 0 || !demangled) {@mangled names are never demangled
skein-parity@foundation/src/tsskeinhash.cpp@constexpr std::uint64_t kKeyParity = 0x5555555555555555ULL;@constexpr std::uint64_t kKeyParity = 0x5555555555555554ULL;@wrong key-schedule parity constant
skein-rotation@foundation/src/tsskeinhash.cpp@    TS_SKEIN_ROUND_EVEN(5, 56)@    TS_SKEIN_ROUND_EVEN(5, 57)@one wrong rotation constant
skein-lastblock@foundation/src/tsskeinhash.cpp@const std::size_t blocks = (length - 1) / kBlockBytes;@const std::size_t blocks = length / kBlockBytes;@a message ending on a block boundary loses its final block
skein-firstflag@foundation/src/tsskeinhash.cpp@t1 &= ~kFirstBlockFlag;@t1 |= 0;@every block is flagged as the first
skein-hexout@foundation/src/tsskeinhash.cpp@text[2 * i + 1] = kDigits[digest.bytes[i] & 0xF];@text[2 * i + 1] = kDigits[digest.bytes[i] & 0x7];@the digest text drops a bit of each low nibble
timebase-pulldown@foundation/src/tstimebase.cpp@constexpr long long kPulldown24To30[4] = {0, 1, 3, 4};@constexpr long long kPulldown24To30[4] = {0, 1, 2, 4};@wrong 3:2 cadence
timebase-floor@foundation/src/tstimebase.cpp@if (remainder < 0) {@if (remainder <= 0) {@floor division is off for exact multiples
timebase-ntsc@foundation/src/tstimebase.cpp@constexpr float kNtscTolerance = 0.011f;@constexpr float kNtscTolerance = 0.11f;@NTSC detection is ten times too loose
timebase-precision@foundation/src/tstimebase.cpp@text.precision(2);@text.precision(3);@rate texts show three decimals
timebase-round@foundation/src/tstimebase.cpp@const long long dividend = asSigned(n + static_cast<unsigned long long>(d / 2) - 1ULL);@const long long dividend = asSigned(n + static_cast<unsigned long long>(d / 2));@frame conversion rounds halves up
timebase-fraction@foundation/src/tstimebase.cpp@const long long den = parseIntegerField(text.c_str() + slash + 1);@const long long den = parseIntegerField(text.c_str() + slash);@the denominator of "num/den" text reads as 0
timebase-zero@foundation/src/tstimebase.cpp@        set(0ULL, 1ULL);\n        return;@        set(0ULL, 0ULL);\n        return;@a zero rate becomes invalid instead of 0/1
timebase-equal@foundation/src/tstimebase.cpp@return isNear(rate(), other.rate(), kIntegralTolerance);@return isNear(rate(), other.rate(), kNtscTolerance);@time bases compare equal too loosely
any-copy@core/dictionary/src/tsany.cpp@Any::Any(const Any& other) {\n    if (other.mType != nullptr) {@Any::Any(const Any& other) {\n    if (other.mType == nullptr) {@a copy of a value is empty
any-cstring@core/dictionary/src/tsany.cpp@static_cast<std::string*>(mValue)->assign(text == nullptr ? "" : text);@static_cast<std::string*>(mValue)->assign(text == nullptr ? "?" : text);@a null C string assigned to a string is not empty
any-equal@core/dictionary/src/tsany.cpp@return mType == nullptr || mType->equal(*this, other);@return mType != nullptr && mType->equal(*this, other);@two empty values compare unequal
any-bind-null@core/dictionary/src/tsany.cpp@if (type != nullptr && storage != nullptr) {@if (type != nullptr) {@binding a null address succeeds
any-isempty@core/dictionary/include/dictionary/tsany.h@bool isEmpty() const noexcept { return mValue == nullptr; }@bool isEmpty() const noexcept { return mOwned == nullptr; }@a bound value reports itself empty
any-ref-alias@core/dictionary/include/dictionary/tsany.h@if (!mType->supportsType(typeid(T))) {@if (!mType->matchesType(typeid(T))) {@the non-const typed view refuses aliases
any-get-exact@core/dictionary/include/dictionary/tsany.h@    if (mType->matchesType(typeid(T))) {@    if (mType->matchesType(typeid(T)) && false) {@a converting read of the held type goes through a cast
dict-has@core/dictionary/src/tsdictionary.cpp@return mEntries.find(key) != mEntries.end();@return mEntries.find(key) == mEntries.end();@hasEntry answers the opposite
dict-erase@core/dictionary/src/tsdictionary.cpp@return mEntries.erase(key) != 0;@return mEntries.erase(key) == 0;@erase reports the opposite
dict-separator@core/dictionary/src/tsnestedvalues.cpp@            feedByte(engine, '|');\n        }\n        feedByte(engine, ')');@            (void)0;\n        }\n        feedByte(engine, ')');@the signature leaves out the entry separator
registry-alias@core/dictionary/src/tsanytypemanagement.cpp@if (findType(registry.typesByName, alias) == nullptr) {@if (findType(registry.typesByName, alias) != nullptr) {@aliases are never entered
registry-target@core/dictionary/src/tsanytypemanagement.cpp@AnyCast*& byTarget = registry.castsByTarget[cast->toName()][cast->fromName()];@AnyCast*& byTarget = registry.castsByTarget[cast->fromName()][cast->toName()];@casts are indexed by target under the wrong keys
dispatch-table@core/dictionary/src/tsanytypemanagement.cpp@if (const AnyCast* cast = findCast(mCastsTo, srcName)) {@if (const AnyCast* cast = findCast(mCastsFrom, srcName)) {@castToMine searches the wrong table
registration-label@core/dictionary/src/tsanytypemanagement.cpp@addBuiltinType<TemplatedAnyType<signed char>>(gTypeLabelInt8);@addBuiltinType<TemplatedAnyType<signed char>>(gTypeLabelChar);@int8 is registered under the char label (and rejected)
cast-nan@core/dictionary/include/dictionary/tsanytypeimplementations.h@            return To(0);@            return To(1);@NaN into an integer gives 1
cast-saturate@core/dictionary/include/dictionary/tsanytypeimplementations.h@        if (value >= limit) {\n            return std::numeric_limits<To>::max();@        if (value >= limit) {\n            return std::numeric_limits<To>::min();@a float above the range saturates to the minimum
cast-timebase-bool@core/dictionary/include/dictionary/tsanytypeimplementations.h@target = timeBase.roundedRate() != 0;@target = timeBase.roundedRate() == 0;@a time base converts to the opposite bool
cast-int-timebase@core/dictionary/include/dictionary/tsanytypeimplementations.h@->set(static_cast<unsigned long long>(bits), 1ULL);@->set(static_cast<unsigned long long>(bits), 0ULL);@an integer becomes an invalid time base
timebase-text@core/dictionary/src/tsanytypeimplementations.cpp@os << static_cast<long long>(value.numerator) << "/" << static_cast<long long>(value.denominator);@os << static_cast<long long>(value.numerator) << ":" << static_cast<long long>(value.denominator);@the time-base text form uses the wrong separator
timebase-field@core/dictionary/src/tsanytypeimplementations.cpp@    if (!(is >> value)) {\n        return 0;@    if (!(is >> value)) {\n        return 1;@an unreadable time-base field reads as 1
cast-cstring-null@core/dictionary/src/tsanytypeimplementations.cpp@        target.clear();@        target.assign("(null)");@a null C string converts to a non-empty string
vector-position@core/dictionary/src/tsnestedvalues.cpp@const auto position = static_cast<std::uint32_t>(index);@const auto position = static_cast<std::uint32_t>(index + 1);@vector signatures number elements from 1
string-feed@core/dictionary/include/dictionary/tsanytypeimplementations.h@    engine.update(value.data(), value.size());\n}@    engine.update(value.data(), value.size() / 2);\n}@a string signs only its first half
LIST
)

if ((list_only)); then
  printf '%s\n' "$faults" | awk -F'@' '{ printf "%-20s %-50s %s\n", $1, $2, $NF }'
  exit 0
fi

build=build/mutation
if [[ ! -f $build/build.ninja ]]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ \
    -DTSD_BUILD_BENCHMARKS=OFF -DTSD_BUILD_EXAMPLES=OFF -DTSD_BUILD_TESTS=ON \
    -DTSD_BUILD_RELIABILITY_TESTS=ON -DCMAKE_LINK_DEPENDS_NO_SHARED=ON \
    -DTSD_BUILD_PYTHON=OFF -DTSD_BUILD_TOOLS=OFF -DTSD_BUILD_DOCS=OFF >/dev/null
fi
echo "baseline build and tests"
cmake --build "$build" -j "$jobs" >/dev/null
read -r -a ctest_extra <<< "${TSD_MUTATION_CTEST_ARGS:-}"
ctest --test-dir "$build" -j "$jobs" --timeout 120 "${ctest_extra[@]}" >/dev/null || { echo "the unmutated tree fails its tests" >&2; exit 2; }

backup=$(mktemp)
current_file=
# The restored file gets a new modification time (no cp -p): with its old one, ninja would keep the
# mutant's object file and the fault would linger into the following runs.
restore() { [[ -n $current_file ]] && cp "$backup" "$current_file"; current_file=; }
trap 'restore; rm -f "$backup"' EXIT

killed=0 survived=0 invalid=0
survivors=()
while IFS='@' read -r id file original replacement what; do
  [[ -z $id ]] && continue
  if ((${#only[@]})); then
    wanted=0
    for pattern in "${only[@]}"; do
      # shellcheck disable=SC2053 # the pattern is meant to match as a glob
      [[ $id == $pattern ]] && wanted=1
    done
    ((wanted)) || continue
  fi
  cp "$file" "$backup"
  current_file=$file
  if ! python3 - "$file" "$original" "$replacement" <<'PY'
import sys
path, old, new = sys.argv[1], sys.argv[2].replace('\\n', '\n'), sys.argv[3].replace('\\n', '\n')
text = open(path).read()
if text.count(old) != 1:
    sys.exit(1)
open(path, 'w').write(text.replace(old, new))
PY
  then
    restore; invalid=$((invalid + 1))
    printf '%-20s invalid   (text not found exactly once in %s)\n' "$id" "$file"
    continue
  fi
  if ! cmake --build "$build" -j "$jobs" >/dev/null 2>&1; then
    restore; invalid=$((invalid + 1))
    printf '%-20s invalid   (does not compile)\n' "$id"
    continue
  fi
  if ctest --test-dir "$build" -j "$jobs" --timeout 120 --stop-on-failure "${ctest_extra[@]}" >/dev/null 2>&1; then
    survived=$((survived + 1)); survivors+=("$id: $what")
    printf '%-20s SURVIVED  %s\n' "$id" "$what"
  else
    killed=$((killed + 1))
    printf '%-20s killed    %s\n' "$id" "$what"
  fi
  restore
done <<< "$faults"

# Leave the build matching the unmutated sources.
cmake --build "$build" -j "$jobs" >/dev/null
counted=$((killed + survived))
printf '\nmutation check: %d killed, %d survived, %d invalid; kill rate %d/%d' \
  "$killed" "$survived" "$invalid" "$killed" "$counted"
((counted > 0)) && awk -v k="$killed" -v n="$counted" 'BEGIN { printf " = %.1f %%", 100 * k / n }'
echo
for s in "${survivors[@]}"; do echo "  survived: $s"; done
