"""TimeBase from Python: construction, rate queries, frame conversions and timecode labels."""

import pytest

import tsdictionary as ts

TB = ts.TimeBase
NTSC = TB(TB.StandardRate.k29_97)


@pytest.mark.parametrize(
    "made, fraction",
    [
        (TB(), (0, 0)),
        (TB(TB.StandardRate.k23_976), (24000, 1001)),
        (TB(TB.StandardRate.k59_94), (60000, 1001)),
        (TB(30000, 1001), (30000, 1001)),
        (TB(25.0), (25, 1)),
        (TB(25), (25, 1)),  # one int is a rate, as a float is
        (TB(12.5), (1250, 100)),
        (TB("29.97"), (30000, 1001)),
        (TB("48000/1001"), (48000, 1001)),
        (TB("x/y"), (0, 0)),
        (TB.from_rate(30, ntsc=True), (30000, 1001)),
        (TB.from_rate(50), (50, 1)),
        (TB(2**64 - 1, 1), (2**64 - 1, 1)),
    ],
)
def test_construction(made, fraction):
    assert (made.numerator, made.denominator) == fraction
    assert repr(made) == f"TimeBase({fraction[0]}, {fraction[1]})"


@pytest.mark.parametrize(
    "rate, rounded, ntsc, drop_frame, rate_text, fraction_text",
    [
        (NTSC, 30, True, True, "29.97", "30000/1001"),
        (TB(24000, 1001), 24, True, False, "23.98", "24000/1001"),
        (TB(25, 1), 25, False, False, "25", "25/1"),
        (TB(1250, 100), 13, False, False, "12.50", "1250/100"),
        (TB(), 0, False, False, "Invalid", "0/0"),
    ],
)
def test_rate_queries(rate, rounded, ntsc, drop_frame, rate_text, fraction_text):
    assert rate.rate() == pytest.approx(rate.numerator / rate.denominator if rate.denominator else 0.0, rel=1e-6)
    assert (rate.rounded_rate(), rate.is_ntsc_rate(), rate.is_drop_frame_rate()) == (rounded, ntsc, drop_frame)
    assert (rate.rate_text(), rate.fraction_text()) == (rate_text, fraction_text)


@pytest.mark.parametrize(
    "convert, frame, source, target, expected",
    [
        (TB.convert_frame, 12, TB(24, 1), TB(25, 1), 12),
        (TB.convert_frame, 13, TB(24, 1), TB(25, 1), 14),
        (TB.convert_frame, 7, TB(), TB(25, 1), 7),  # an invalid rate changes nothing
        (TB.convert_position, 1.5, TB(24, 1), TB(48, 1), 3.0),
        (TB.convert_frame_pulldown, 2, TB(24, 1), TB(30, 1), 3),
        (TB.convert_frame_pulldown, 3, TB(24, 1), TB(30, 1), 4),
        (TB.convert_frame_pulldown, 2, TB(30, 1), TB(24, 1), 1),
        (TB.convert_frame_pulldown, -1, TB(24, 1), TB(30, 1), -1),
    ],
)
def test_frame_conversions(convert, frame, source, target, expected):
    assert convert(frame, source, target) == expected


@pytest.mark.parametrize(
    "rate, frame, drop_frame, label",
    [
        (NTSC, 107892, True, "01:00:00;00"),
        (NTSC, 17982, True, "00:10:00;00"),
        (NTSC, -1, True, "23:59:59;29"),
        (NTSC, 1800, False, "00:01:00:00"),
        (TB(25, 1), 90061, False, "01:00:02:11"),
        (TB(120, 1), 119, False, "00:00:00:119"),
    ],
)
def test_timecode_labels(rate, frame, drop_frame, label):
    assert rate.timecode_text(frame, drop_frame) == label
    day = 86400 * rate.rounded_rate() if not drop_frame else 2589408
    assert rate.timecode_frame(label) == frame % day


@pytest.mark.parametrize(
    "rate, action",
    [
        (NTSC, lambda r: r.timecode_frame("00:01:00;00")),  # drop-frame skips this label
        (TB(30, 1), lambda r: r.timecode_text(0, True)),
        (TB(), lambda r: r.timecode_text(0, False)),
        (TB(25, 1), lambda r: r.timecode_frame(" 00:00:00:00")),
    ],
)
def test_refused_timecodes(rate, action):
    with pytest.raises(ts.TimecodeError):
        action(rate)


@pytest.mark.parametrize(
    "call",
    [
        lambda: TB(-1, 1),
        lambda: TB(2**64, 1),
        lambda: TB.convert_frame(2**63, NTSC, NTSC),
        lambda: NTSC.timecode_text("12"),
        lambda: TB("\ud800"),
        lambda: TB([25]),
    ],
)
def test_bad_arguments_raise_type_error(call):
    with pytest.raises(TypeError):
        call()


def test_equality_and_immutability():
    assert TB(25, 1) == TB(50, 2) and TB(30000, 1001) != TB(30, 1) and TB() == TB()
    with pytest.raises(AttributeError):
        NTSC.numerator = 5
    with pytest.raises(TypeError):
        hash(NTSC)
