"""Times with their mode."""

import array
import pickle

import pytest

import zrdmtree
from zrdmtree import DmValueError, Fcm, Time


def test_labels_and_frames():
    cases = [
        (0, Fcm.FCM_25, "00:00:00:00"),
        (1800, Fcm.FCM_29_97_DF, "00:01:00;02"),
        (17982, "29.97 fps DF", "00:10:00;00"),
        (86400, "24 fps", "01:00:00:00"),
        (-25, "25 fps", "-00:00:01:00"),
    ]
    for frames, mode, label in cases:
        time = Time(frames, mode)
        assert str(time) == time.label == label
        assert Time(label, mode) == time and time.frames == frames
        assert eval(repr(time)) == time
        assert pickle.loads(pickle.dumps(time)) == time
    assert zrdmtree.labels([case[0] for case in cases[1:3]], "29.97 fps DF") == ["00:01:00;02", "00:10:00;00"]
    assert zrdmtree.labels(array.array("d", [1, 26]), Fcm.FCM_25) == ["00:00:00:01", "00:00:01:01"]
    assert zrdmtree.frames(["00:00:01:01", "01:00:00:00"], 25) == [26, 90000]


def test_arithmetic_and_order():
    hour, half = Time("01:00:00:00", "25 fps"), Time("00:30:00:00", "25 fps")
    assert hour - half == half == hour - 45000 and half + half == hour == half * 2 == 2 * half
    assert -half + half == Time(0, "25 fps") and abs(-half) == half and 45000 + half == hour
    assert half < hour and max(half, hour) is hour and hour.seconds == 3600
    assert hour.to("24 fps") == Time("01:00:00:00", "24 fps") != hour
    assert not hour < hour.to("24 fps") and hour <= hour.to("24 fps")
    assert hour + Time("00:30:00:00", "24 fps") == Time("01:30:00:00", "25 fps")
    assert {hour: 1}[Time(90000, Fcm.FCM_25)] == 1 and hour != 90000 and float(hour) == 90000


def test_times_are_divided_rounded_and_formatted():
    hour = Time("01:00:00:00", "25 fps")
    assert hour / 4 == Time("00:15:00:00", "25 fps") and hour / Time("00:30:00:00", "24 fps") == 2
    assert round(hour / 7) == Time(12857, "25 fps") and +hour == hour and sum([hour, hour]) == hour * 2
    assert f"{hour}|{hour:>12}" == "01:00:00:00| 01:00:00:00"
    for bad, error in ((lambda: hour * hour, TypeError), (lambda: hour / 0, ZeroDivisionError),
                       (lambda: hour / "x", TypeError), (lambda: hour + None, TypeError),
                       (lambda: hour * float("nan"), DmValueError)):
        with pytest.raises(error):
            bad()


@pytest.mark.parametrize("bad", ["00:00:01:00", ["x"], [5], [None], [b"00:00:01:00"], None])
def test_what_are_no_labels_raises(bad):
    with pytest.raises((TypeError, DmValueError)):
        zrdmtree.frames(bad, "25 fps")
    with pytest.raises(TypeError):
        zrdmtree.labels([1j], "25 fps")


@pytest.mark.parametrize("label", ["00;01;00;00", "00:00:00:30", "", "x", "00:00:61:00", "00:00:00:00:00",
                                   "00:00:00:0\0", "1" * 400 + ":00:00:00", "-", "--1:00:00:00", "00:-1:00:00"])
def test_labels_that_a_mode_does_not_have_raise(label):
    with pytest.raises(DmValueError):
        Time(label, Fcm.FCM_29_97_DF)


@pytest.mark.parametrize("time, mode, error", [
    (0, "26 fps", DmValueError), (0, 0, DmValueError), (0, 10**30, DmValueError), (0, None, TypeError),
    (0, "", DmValueError), (None, "25 fps", TypeError), (float("nan"), "25 fps", DmValueError), (b"", 25, TypeError),
    ([], 25, TypeError), (0, "25 fps\0", DmValueError), (0, True, TypeError),
])
def test_what_is_no_time_raises(time, mode, error):
    with pytest.raises(error):
        Time(time, mode)


def test_huge_times_have_labels():
    assert Time(1e300, "25 fps").label and Time(-1e300, "25 fps").label
