"""The command catalog against the sandbox: from the databases to a file's bytes and back, and
the attributes made from the declared-property tables."""

import os
from pathlib import Path

import pytest

import ostradb
from conftest import catalog_files, full_name, local_path


def test_walk_from_databases_to_the_bytes_of_a_file(admin, tmp_path):
    dbs, files = catalog_files(admin)
    assert {"Западная Сибирь", "North Sea Demo"} <= {db.Name for db in dbs.Items}
    west = dbs.FindByName("западная сибирь")
    assert [item.Type for item in west.Structure.Items] == ["%field", "%well", "%survey"]

    fields = ostradb.TLevelsList()
    admin.RequestLevelsList(west.Id, [], False, False, False, None, fields)
    assert sorted(level.Name for level in fields.Items) == ["Озёрное", "Северное"]
    north = next(level for level in fields.Items if level.Name == "Северное")
    below = ostradb.TLevelFilesList()
    admin.RequestFiles(below, west.Id, [north.Id],
                       {ostradb.rffInclFilePath, ostradb.rffInclTables, ostradb.rffInclCurves})
    assert below.Files and all(f.PathValues[0] == "Северное" for f in below.Files)
    well = below.FindByName(next(f.Name for f in below.Files if f.Name.endswith("12_gis_2019.ws")))
    assert list(well.PathValues) == ["Северное", "12", "ГИС 2019"]
    curves = well.FindTable("ГИС").Curves
    assert [c.Name for c in curves][:3] == ["ГК", "НГК", "ПС"]
    assert (curves[0].Stop, curves[0].Step, curves[0].NVers) == (2024.6, 0.2, 2)
    assert list(curves[1].Planshets) == ["Основной", "Корреляция"] and curves[-1].Name == "ДС"
    names, tables = ostradb.TStringList([full_name(west, well)]), ostradb.TStringList()
    admin.GetTablesList(names, tables)
    assert tables == ["ГИС"] and not names[0].startswith("WSTP://")

    # The largest file into a file object, and back from a bytearray: the exact bytes. The
    # other kinds of sink and source are the high-level client's tests' subject.
    info, big = max(files, key=lambda x: os.path.getsize(local_path(full_name(*x))))
    name = full_name(info, big)
    expected = Path(local_path(name)).read_bytes()
    assert len(expected) > 1 << 20
    with open(tmp_path / "copy.ws", "wb") as out:
        admin.GetFileContents(name, out)
    assert (tmp_path / "copy.ws").read_bytes() == expected
    back = os.path.dirname(name) + "/uploaded.ws"
    admin.PutFileContents(back, bytearray(expected))
    assert admin.FileExists(back) and Path(local_path(back)).read_bytes() == expected


def test_login_dialog_and_packet_trace_are_python_callables(sandbox):
    asked, packets = [], []

    def dialog(sender, data):
        asked.append((sender, data.User, data.Attempt))
        data.User, data.Password = "viewer", "viewer"
        return ostradb.ldrOk

    with ostradb.TOstraDbProtocol() as p:
        p.SetHostPort("127.0.0.1", sandbox.port)
        p.SetLoginDialog(dialog)
        p.SetPacketTrace(lambda request, text: packets.append((request, text)))
        assert p.Login()
    assert asked == [(p, "", 1)] and p.LastUser() == "viewer"
    assert p.GetUserRights() == {ostradb.urView}
    logins = [text for request, text in packets if request and 'cmd="login"' in text]
    assert logins and "viewer" in logins[0]
    assert [request for request, _ in packets[:2]] == [True, False]


def test_declared_properties_convert_by_their_type():
    f = ostradb.TLevelFile(Name="a.ws", IsMain=True, FileId=7, Params=["Оператор=Партия 13"])
    assert (f.Name, f.IsMain, f.FileId, f.Params.Values("Оператор")) == ("a.ws", True, 7, "Партия 13")
    rights = {ostradb.urView, ostradb.urChangeData}
    item = ostradb.TSimpleFileInfoItem(FileRights=rights, IsReadOnly=False)
    assert item.FileRights == rights
    item.FileRights = 0b101
    assert item.FileRights == {ostradb.urView, ostradb.urChangeLevels}
    attr = ostradb.TFileNameAndAttr(ReadOnlyAttr=ostradb.favSet)
    assert attr.ReadOnlyAttr == ostradb.favSet

    bad = [
        (TypeError, lambda: ostradb.TLevelFile(Name=5)),
        (TypeError, lambda: ostradb.TLevelFile(Nmae="a.ws")),
        (TypeError, lambda: setattr(f, "IsMain", 1)),
        (ValueError, lambda: setattr(f, "FileId", 1 << 31)),
        (ValueError, lambda: setattr(attr, "ReadOnlyAttr", 7)),
        (ValueError, lambda: setattr(item, "FileRights", -1)),
    ]
    for error, change in bad:
        with pytest.raises(error):
            change()
    # What Python set is what C++ writes and reads back.
    text = ostradb.SaveToXMLString(f, "File")
    again = ostradb.TLevelFile()
    ostradb.LoadFromXMLString(again, "File", False, text)
    assert repr(again) == repr(f) and "IsMain=True" in repr(f)


def test_items_taken_out_outlive_their_collection(admin):
    """An item (or an item within one) taken from a collection that is then cleared, refilled
    by a command or has the item deleted stays usable and keeps its values, detached from the
    collection: it neither dangles nor changes the collection any more."""
    dbs = ostradb.TDatabasesList()
    admin.RequestDatabasesListEx(dbs, True)
    first = dbs.Items[0]
    level, found = first.Structure.Items[0], dbs.FindByName(first.Name)
    files = ostradb.TLevelFilesList()
    flags = {ostradb.rffInclFilePath, ostradb.rffInclTables, ostradb.rffInclCurves}
    admin.RequestFiles(files, first.Id, [], flags)
    file, last = files.Files[0], files.Files[-1]
    curves = file.GetTable(0).Curves
    curve = curves[0]
    before = [(first.Name, level.Type, found.Id), (file.Name, last.Name, curve.Name, len(curves))]

    admin.RequestDatabasesListEx(dbs, True)
    del files.Files[-1]
    files.Clear()
    # Reuse the freed memory, so that a dangling item would show other values or crash.
    churn = [ostradb.TLevelFile(Name=str(i) * 40) for i in range(20000)]
    admin.RequestFiles(files, dbs.Items[-1].Id, [], flags)
    after = [(first.Name, level.Type, found.Id), (file.Name, last.Name, curve.Name, len(curves))]
    assert after == before and churn
    first.Name = "detached"
    assert dbs.Items[0].Name == before[0][0] and files.Files[0].Name != file.Name
