// A walk through one realistic request: a host keeps the settings of a clip in a Dictionary.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsnameatom.h>
#include <foundation/tsskeinhash.h>
#include <foundation/tstimebase.h>
#include <foundation/tstimecode.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Dictionary;
using Tessel::Base::TimeBase;
using Name = Tessel::Base::NameAtom<Any>;

void section(const char* title) {
    std::cout << "\n== " << title << " ==\n";
}

// "int32 1920", "string 'Intro'", "empty"...
std::string describe(const Any& value) {
    if (value.isEmpty()) {
        return "empty";
    }
    std::string text = value.type()->label().getString() + " ";
    const bool isString = value.type()->label() == gTypeLabelString;
    try {
        std::ostringstream written;
        value.write(written);
        text += isString ? "'" + written.str() + "'" : written.str();
    } catch (const Tessel::Base::Exception&) {
        text += "(no text form)";
    }
    return text;
}

template <class T>
Any valueOf(const T& value) {
    Any any;
    any.set(value);
    return any;
}

} // namespace

int main() {
    std::cout << "TsDictionary demo: the settings of one clip\n";

    Dictionary clip;
    const Name width("width"); // names are interned once and compared as integers afterwards

    section("A value keeps its type");
    clip[width] = valueOf(1920);
    std::cout << "width     = " << describe(clip[width]) << "\n";
    clip[width] = valueOf(2048.7);
    std::cout << "assigned the double 2048.7, width is still " << describe(clip[width])
              << " (converted, not replaced)\n";

    section("Nested values");
    Any& source = clip["source"];
    source.set(Dictionary());
    source["file"] = "intro.mov";
    source["frames"] = valueOf(1440);
    std::cout << "source.file   = " << describe(source["file"]) << "\n"
              << "source.frames = " << describe(source["frames"]) << "\n";

    Any& markers = clip["markers"];
    markers.set(std::vector<Any>());
    markers.vec().push_back(valueOf(0));
    markers.vec().push_back(valueOf(240));
    markers.vec().push_back(valueOf(1200));
    std::cout << "markers has " << markers.vec().size() << " entries; the second is "
              << describe(markers[1]) << "\n";

    section("A host variable bound into the dictionary");
    int playhead = 0;
    clip["playhead"] = BindValue(playhead);
    clip["playhead"] = valueOf(96.6f);
    std::cout << "assigning the float 96.6 to the entry set the host's int variable to " << playhead
              << "\n";

    section("A frame rate");
    Any& rate = clip["rate"];
    rate.set(TimeBase());
    rate = valueOf(29.97);
    const TimeBase& timeBase = rate.ref<TimeBase>();
    std::cout << "29.97 stored as a timebase: fraction " << timeBase.fractionText() << ", rate "
              << timeBase.rateText() << (timeBase.isDropFrameRate() ? " (drop-frame)" : "") << "\n"
              << "frame 100 at 24 fps is frame "
              << TimeBase::convertFramePulldown(100, TimeBase(TimeBase::k24), timeBase)
              << " at this rate with 2:3 pulldown\n";
    std::cout << "frame 107892 at " << timeBase.rateText() << " drop-frame is timecode "
              << Tessel::Base::timecodeText(107892, timeBase, true) << "\n";

    section("Content signature");
    std::cout << "the dictionary holds " << clip.size() << " entries, in the order their names were "
              << "first seen:";
    for (const auto& entry : clip) {
        std::cout << ' ' << entry.first;
    }
    Tessel::Base::SkeinHash::Engine engine;
    std::cout << "\nSkein-256 signature: " << clip.signature(engine).digest() << "\n";
    const Dictionary copy(clip);
    Tessel::Base::SkeinHash::Engine copyEngine;
    std::cout << "a deep copy compares " << (copy == clip ? "equal" : "unequal")
              << " and signs the same: " << std::boolalpha
              << (copy.signature(copyEngine).digest() == engine.digest()) << "\n";

    section("Content that means content, assignments that refuse to lose");
    std::cout << "canonical signature (the same in any process for this content): "
              << canonicalSignature(clip) << "\n";
    Any frames;
    frames.set(24);
    frames.assignExact(48.0);
    try {
        frames.assignExact(2048.7);
    } catch (const AnyInexactConversionException& error) {
        std::cout << "exact assignment refused: " << error.userMessage() << " The entry still holds "
                  << frames.ref<int>() << ".\n";
    }

    section("The clip as JSON");
    const Any clipValue{BindValue(clip)};
    JsonOptions indented;
    indented.indent = 2;
    const std::string typed = toJson(clipValue, indented);
    std::cout << "typed (every label kept):\n" << typed << "\n";
    const Any reread = fromJson(typed);
    std::cout << "read back: width is " << describe(reread["width"]) << ", the rate's fraction is "
              << reread["rate"].ref<TimeBase>().fractionText() << "\n";
    JsonOptions plain;
    plain.form = JsonForm::Plain;
    std::cout << "plain (for other programs): " << toJson(clipValue, plain) << "\n";

    section("A mistake, caught");
    try {
        clip[width].dict();
    } catch (const AnyDereferenceException& error) {
        std::cout << "asking width for a dictionary fails: " << error.userMessage() << "\n\n";
        error.report(std::cout);
    }
    return 0;
}
