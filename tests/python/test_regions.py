# SPDX-License-Identifier: Apache-2.0
import subprocess

import pytest

import corvana
from corvana import Region


def audio_of(path):
    return corvana.read(path)[0]


def test_reads_what_the_command_lists(call, command):
    listed = command("annotations", "list", "--format", "csv", call).splitlines()[1:]
    regions = corvana.read_regions(call)
    assert [f"{i},{r.type},{r.start:g},{r.stop:g}" for i, r in enumerate(regions)] == listed
    assert regions[0] == Region("RINGBACK", 0.0, 2.0)
    assert regions[0].duration == 2.0


def test_edits_regions_in_a_block(copy_of_call):
    before = audio_of(copy_of_call)
    with corvana.edit_regions(copy_of_call) as regions:
        regions.append(Region("beep", 2.5, 2.75))
        regions.append(Region("SF_12", 3.0, 3.5))
        del regions[0]
    after = corvana.read_regions(copy_of_call)
    assert len(after) == 7
    assert after[-2:] == [Region("BEEP", 2.5, 2.75), Region("SF_12", 3.0, 3.5)]
    assert after[0].type == "CPA_MACHINE"
    assert (audio_of(copy_of_call) == before).all()


def test_leaves_the_file_as_it_was_when_a_block_raises(copy_of_call):
    before = copy_of_call.read_bytes()
    with pytest.raises(ZeroDivisionError):
        with corvana.edit_regions(copy_of_call) as regions:
            regions.clear()
            1 / 0
    assert copy_of_call.read_bytes() == before


def test_writes_nothing_when_nothing_changed(copy_of_call):
    before = copy_of_call.stat()
    with corvana.edit_regions(copy_of_call) as regions:
        regions.append(Region("BEEP", 1, 2))
        regions.pop()
    assert copy_of_call.stat().st_ino == before.st_ino


def test_refuses_to_lose_what_another_program_added_meanwhile(copy_of_call, command):
    with pytest.raises(corvana.Error, match="were changed by another program in the meantime"):
        with corvana.edit_regions(copy_of_call) as regions:
            regions.clear()
            command("annotations", "add", copy_of_call, "VOICE", 1, 2)
    assert [region.type for region in corvana.read_regions(copy_of_call)][-1] == "VOICE"


def test_replaces_all_regions(copy_of_call):
    corvana.write_regions(copy_of_call, [Region("BEEP", 1, 2)])
    assert corvana.read_regions(copy_of_call) == [Region("BEEP", 1.0, 2.0)]
    corvana.write_regions(copy_of_call, [])
    assert corvana.read_regions(copy_of_call) == []


@pytest.mark.parametrize(
    ("region", "message"),
    [
        (Region("LADY", 1, 2), "LADY"),
        (Region("BEEP", 2, 1), "does not end before it starts"),
        (Region("BEEP", float("nan"), 1), "does not end before it starts"),
        (Region("BEEP", 18, 20), "end of the audio"),
    ],
)
def test_refuses_regions_that_no_recording_can_have(copy_of_call, region, message):
    before = copy_of_call.read_bytes()
    with pytest.raises(corvana.Error, match=message):
        corvana.write_regions(copy_of_call, [region])
    assert copy_of_call.read_bytes() == before


def test_cuts_regions_at_the_end_when_asked_to(copy_of_call):
    corvana.write_regions(copy_of_call, [Region("BEEP", 18, 20)], clip=True)
    assert corvana.read_regions(copy_of_call) == [Region("BEEP", 18.0, 19.0)]


def test_writes_names_that_other_programs_find(copy_of_call):
    corvana.write_regions(copy_of_call, [Region("BEEP", 1, 2)], interop=True)
    shown = subprocess.run(
        ["ffprobe", "-v", "error", "-show_chapters", str(copy_of_call)], check=True, capture_output=True, text=True
    ).stdout
    assert "BEEP" in shown


def test_raises_why_regions_cannot_be_read(tmp_path):
    absent = tmp_path / "absent.wav"
    with pytest.raises(corvana.Error, match="absent.wav: failed to open, No such file or directory"):
        corvana.read_regions(absent)
    text = tmp_path / "text.wav"
    text.write_text("no recording")
    with pytest.raises(corvana.Error, match="text.wav: "):
        corvana.read_regions(text)


@pytest.mark.parametrize("name", ["labels.csv", "labels.json", "labels.txt", "labels.TextGrid"])
def test_exchanges_regions_by_label_files(tmp_path, name):
    regions = [Region("BEEP", 0.5, 1.25), Region("lady, old \u00e9", 2.0, 3.0)]
    path = tmp_path / name
    corvana.export_regions(path, regions, duration=4.0)
    assert corvana.import_regions(path) == regions
    assert [entry.name for entry in tmp_path.iterdir()] == [name]


def test_reads_what_the_command_exports(call, command, tmp_path):
    path = tmp_path / "labels"
    path.write_text(command("annotations", "export", "--format", "audacity", call))
    assert corvana.import_regions(path, "audacity") == corvana.read_regions(call)


def test_explains_what_is_wrong_with_a_label_file(tmp_path):
    path = tmp_path / "labels.csv"
    path.write_text("index,type,start,stop\n0,BEEP,1,zero\n")
    with pytest.raises(corvana.Error, match="labels.csv: line 2"):
        corvana.import_regions(path)
    with pytest.raises(ValueError, match="name the format"):
        corvana.export_regions(tmp_path / "labels.doc", [])
    with pytest.raises(ValueError, match="is no format"):
        corvana.import_regions(path, "word")


def test_keeps_the_old_label_file_when_the_new_one_cannot_be_written(tmp_path):
    path = tmp_path / "folder.csv"
    path.mkdir()
    with pytest.raises(OSError):
        corvana.export_regions(path, [Region("BEEP", 1, 2)])
    assert [entry.name for entry in tmp_path.iterdir()] == ["folder.csv"]


def test_lists_the_types_of_regions():
    types = corvana.region_types()
    assert len(types) == 289
    assert {"BEEP", "CPA_MACHINE", "FEMALE", "OTHER"} <= set(types)
