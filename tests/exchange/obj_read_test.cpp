// OBJ_Read_Merge: objects, group carving, messages, references and failures.
#include <cerrno>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/objects.h"

namespace pfx_test {
namespace {

const std::string kCubeVertices =
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n";
const std::string kCubeFaces = "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

const std::wstring kEof = L"-> Polyfex:OBJ_Read_Merge() \x02\xF1------ ------ End of file ------ ------";

std::wstring counts(int v, int t, int n, int p)
{
    return L"-> Polyfex:OBJ_Read_Merge() read: " + std::to_wstring(v) + L" nodes, " + std::to_wstring(t) +
           L" textures, " + std::to_wstring(n) + L" normals, " + std::to_wstring(p) + L" polygons";
}

std::wstring unknown(int line, const std::wstring& text)
{
    return L"-> Polyfex:OBJ_Read_Merge() line:" + std::to_wstring(line) + L" Unrecognized keyword: " + text;
}

class ObjRead : public PfxTest {
protected:
    void SetUp() override { dir = temp_dir(); }
    void TearDown() override
    {
        free_object_list(objs, -1);
        objs = nullptr;
        PfxTest::TearDown();
    }
    int read(const std::string& name, const std::string& text)
    {
        write_file(dir + name + ".obj", text);
        return read_again(name);
    }
    int read_again(const std::string& name)
    {
        free_object_list(objs, -1);
        objs = nullptr;
        sink.clear();
        return OBJ_Read_Merge(wide(dir).c_str(), wide(name).c_str(), &objs);
    }
    Line in(const std::string& name) const
    {
        return {MSG_TRACE_IO, L">>> in  OBJ_Read_Merge(" + wide(dir) + L"," + wide(name) + L")"};
    }
    static Line io(const std::wstring& text) { return {MSG_TRACE_IO, text}; }
    static Line user(const std::wstring& text) { return {MSG_USER, text}; }

    std::string dir;
    Movie_Objs** objs = nullptr;
};

std::vector<int> corners(const Movie_Poly& p)
{
    return std::vector<int>(p.Node_Id, p.Node_Id + p.Node_Id_Nb);
}

std::vector<float> xyz(const Movie_Node& n) { return {n.Coord.x, n.Coord.y, n.Coord.z, n.Coord.w}; }

TEST_F(ObjRead, FileWithoutGroupsIsOneObjectNamedAfterTheFile)
{
    ASSERT_EQ(read("cube", kCubeVertices + kCubeFaces), 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("cube"), io(kEof), io(counts(8, 0, 0, 6)),
                                               io(L"<<< out OBJ_Read_Merge(! group_nb)")}));
    ASSERT_NE(objs, nullptr);
    ASSERT_NE(objs[0], nullptr);
    EXPECT_EQ(objs[1], nullptr);
    const Movie_Objs* o = objs[0];
    EXPECT_EQ(o->Flags, 0x4101u);
    EXPECT_STREQ(o->Name, L"cube");
    EXPECT_EQ(std::wstring(o->Path), wide(dir));
    EXPECT_EQ(o->Pos_Done, 0);
    ASSERT_EQ(o->Node_Nb, 8);
    ASSERT_EQ(o->Poly_Nb, 6);
    EXPECT_EQ(o->Text_Nb, 0);
    EXPECT_EQ(o->Normal_Nb, 0);
    EXPECT_EQ(xyz(o->Node_Pt[6]), (std::vector<float>{1, 1, 1, 0}));
    EXPECT_EQ(o->Node_Pt[6].Pos.x, 0.0f);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(o->Poly_Pt[i].Node_Id_Nb, 4);
    EXPECT_EQ(corners(o->Poly_Pt[5]), (std::vector<int>{3, 0, 4, 7}));
    // Fields without value in a file without such lists stay -1.
    EXPECT_EQ(o->Poly_Pt[0].Text_Id[0], -1);
    EXPECT_EQ(o->Poly_Pt[0].Normal_Id[3], -1);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(o->Matrix.m[r][c], 0.0);
    EXPECT_EQ(o->Node_Pt[0].Poly_Id, nullptr);
}

TEST_F(ObjRead, GroupsBecomeObjectsWithOnlyTheirVertices)
{
    const std::string text = kCubeVertices + "g top\nf 5 6 7 8\ng sides\n" +
                             "f 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    ASSERT_EQ(read("cube", text), 2);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("cube"), io(kEof), io(counts(8, 0, 0, 5)),
                                               io(L"<<< out OBJ_Read_Merge(done)")}));
    ASSERT_NE(objs[0], nullptr);
    ASSERT_NE(objs[1], nullptr);
    EXPECT_EQ(objs[2], nullptr);
    const Movie_Objs* top = objs[0];
    const Movie_Objs* sides = objs[1];
    EXPECT_STREQ(top->Name, L"top");
    EXPECT_STREQ(sides->Name, L"sides");
    EXPECT_EQ(top->Path, nullptr);
    EXPECT_EQ(top->Flags, 0x4101u);
    ASSERT_EQ(top->Node_Nb, 4);
    ASSERT_EQ(top->Poly_Nb, 1);
    EXPECT_EQ(xyz(top->Node_Pt[0]), (std::vector<float>{0, 0, 1, 0}));
    EXPECT_EQ(corners(top->Poly_Pt[0]), (std::vector<int>{0, 1, 2, 3}));
    // Every vertex is used by a side: all eight, vertex 5 shared with top.
    ASSERT_EQ(sides->Node_Nb, 8);
    ASSERT_EQ(sides->Poly_Nb, 4);
    EXPECT_EQ(xyz(sides->Node_Pt[4]), xyz(top->Node_Pt[0]));
    EXPECT_EQ(corners(sides->Poly_Pt[3]), (std::vector<int>{3, 0, 4, 7}));
    // No texture or normal list in the file: the carved ids stay 0.
    EXPECT_EQ(sides->Poly_Pt[0].Text_Id[0], 0);
    EXPECT_EQ(sides->Text_Pt, nullptr);
}

TEST_F(ObjRead, GroupsRenumberTexturesAndNormalsInFileOrder)
{
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 5 5 5\n"
                             "vt 0.1 0.2\nvt 0.3 0.4\nvt 0.5 0.6\n"
                             "vn 1 0 0\nvn 0 1 0\nvn 0 0 1\n"
                             "g a\nf 1/3/2 2/2/2 3/3/2\n"
                             "g b\nf 4/1/3 2/2/1 3/1/3\n";
    ASSERT_EQ(read("t", text), 2);
    const Movie_Objs* a = objs[0];
    const Movie_Objs* b = objs[1];
    ASSERT_EQ(a->Text_Nb, 2);
    EXPECT_EQ(std::vector<float>(a->Text_Pt, a->Text_Pt + 4), (std::vector<float>{0.3f, 0.4f, 0.5f, 0.6f}));
    ASSERT_EQ(a->Normal_Nb, 1);
    EXPECT_EQ(std::vector<float>(a->Normal_Pt, a->Normal_Pt + 3), (std::vector<float>{0, 1, 0}));
    EXPECT_EQ(std::vector<int>(a->Poly_Pt[0].Text_Id, a->Poly_Pt[0].Text_Id + 3), (std::vector<int>{1, 0, 1}));
    EXPECT_EQ(std::vector<int>(a->Poly_Pt[0].Normal_Id, a->Poly_Pt[0].Normal_Id + 3), (std::vector<int>{0, 0, 0}));
    ASSERT_EQ(b->Node_Nb, 3);
    EXPECT_EQ(xyz(b->Node_Pt[2]), (std::vector<float>{5, 5, 5, 0}));
    EXPECT_EQ(corners(b->Poly_Pt[0]), (std::vector<int>{2, 0, 1}));
    ASSERT_EQ(b->Text_Nb, 2);
    EXPECT_EQ(std::vector<int>(b->Poly_Pt[0].Text_Id, b->Poly_Pt[0].Text_Id + 3), (std::vector<int>{0, 1, 0}));
    ASSERT_EQ(b->Normal_Nb, 2);
    EXPECT_EQ(std::vector<int>(b->Poly_Pt[0].Normal_Id, b->Poly_Pt[0].Normal_Id + 3), (std::vector<int>{1, 0, 1}));
}

TEST_F(ObjRead, EmptyGroupAndFacesBeforeTheFirstGroup)
{
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\ng\ng tri\nf 3 2 1\ng last\n";
    ASSERT_EQ(read("g", text), 3);
    EXPECT_EQ(sink.lines()[2], io(counts(3, 0, 0, 2)));
    // "g" alone: an empty name gives no Name; no faces, no arrays.
    EXPECT_EQ(objs[0]->Name, nullptr);
    EXPECT_EQ(objs[0]->Node_Nb, 0);
    EXPECT_EQ(objs[0]->Node_Pt, nullptr);
    EXPECT_EQ(objs[0]->Poly_Nb, 0);
    EXPECT_EQ(objs[0]->Poly_Pt, nullptr);
    // The face ahead of the first group is in no object.
    ASSERT_EQ(objs[1]->Poly_Nb, 1);
    EXPECT_EQ(corners(objs[1]->Poly_Pt[0]), (std::vector<int>{2, 1, 0}));
    EXPECT_EQ(objs[2]->Poly_Nb, 0);
    EXPECT_STREQ(objs[2]->Name, L"last");
}

TEST_F(ObjRead, GroupNameIsTheTextAfterTheSeparator)
{
    ASSERT_EQ(read("n", "g\tcaf\xC3\xA9 au lait\ngx\ngroup\n"), 3);
    EXPECT_STREQ(objs[0]->Name, L"caf\u00e9 au lait");
    EXPECT_EQ(objs[1]->Name, nullptr);
    EXPECT_STREQ(objs[2]->Name, L"oup");
}

TEST_F(ObjRead, FieldWithoutValueTakesTheLastEntryRead)
{
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 2 2 0\nv 3 3 0\n"
                             "vn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\n"
                             "vt 0 0\nvt 1 0\nf 1//2 3//4 5//6\nvt 0 1\nvt 1 1\nf 1/1 2 3/2/1\n";
    ASSERT_EQ(read("t", text), 1);
    const Movie_Objs* o = objs[0];
    ASSERT_EQ(o->Poly_Nb, 2);
    EXPECT_EQ(std::vector<int>(o->Poly_Pt[0].Text_Id, o->Poly_Pt[0].Text_Id + 3), (std::vector<int>{1, 1, 1}));
    EXPECT_EQ(corners(o->Poly_Pt[0]), (std::vector<int>{0, 2, 4}));
    EXPECT_EQ(std::vector<int>(o->Poly_Pt[1].Text_Id, o->Poly_Pt[1].Text_Id + 3), (std::vector<int>{0, 3, 1}));
    EXPECT_EQ(std::vector<int>(o->Poly_Pt[0].Normal_Id, o->Poly_Pt[0].Normal_Id + 3), (std::vector<int>{1, 3, 5}));
    EXPECT_EQ(std::vector<int>(o->Poly_Pt[1].Normal_Id, o->Poly_Pt[1].Normal_Id + 3), (std::vector<int>{5, 5, 0}));
}

TEST_F(ObjRead, RelativeReferencesCountBackFromTheLastEntry)
{
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf -1 -2 -3 -4\nf 0 -0 +2\n"
                             "v 9 9 9\nf -1 1/x/y 2abc/-1\n";
    ASSERT_EQ(read("r", text), 1);
    const Movie_Objs* o = objs[0];
    ASSERT_EQ(o->Poly_Nb, 3);
    EXPECT_EQ(corners(o->Poly_Pt[0]), (std::vector<int>{3, 2, 1, 0}));
    // "0", "-0" and "+2" do not name a vertex by number: the last one read.
    EXPECT_EQ(corners(o->Poly_Pt[1]), (std::vector<int>{3, 3, 3}));
    EXPECT_EQ(corners(o->Poly_Pt[2]), (std::vector<int>{4, 0, 1}));
}

TEST_F(ObjRead, FaceWithMoreThanFourCornersWarnsAndIsDropped)
{
    const std::string text = kCubeVertices + "f 1 2 3 4 5\nf 1 2 3\nf 1 2 3 4\n";
    ASSERT_EQ(read("five", text), 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("five"), user(L"\xF1\x05WARNING:\x02 To many nodes for polygon!"),
                                               user(L"\xF1\t File: \x01" L"five"), user(L"\xF1\t Line: \x01" L"9"),
                                               io(kEof), io(counts(8, 0, 0, 2)),
                                               io(L"<<< out OBJ_Read_Merge(! group_nb)")}));
    ASSERT_EQ(objs[0]->Poly_Nb, 2);
    EXPECT_EQ(corners(objs[0]->Poly_Pt[1]), (std::vector<int>{0, 1, 2, 3}));
    // A dropped face leaves nothing behind in the next one's record.
    EXPECT_EQ(corners(objs[0]->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(objs[0]->Poly_Pt[0].Node_Id[3], 0);
}

TEST_F(ObjRead, UnlistedStatementsAreTracedAndSkipped)
{
    const std::string text = "# comment\nmtllib a.mtl\nusemtl wood\ns off\nvp 0.5\no name\nl 1 2\n"
                             "v\t1 2 3\n\n   \nvt\nf\nf\t1 2 3\nv 1 2 3\n";
    ASSERT_EQ(read("u", text), 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("u"), io(unknown(6, L"o name")), io(unknown(7, L"l 1 2")),
                                               io(unknown(8, L"v\t1 2 3")), io(unknown(9, L"")),
                                               io(unknown(10, L"")), io(unknown(12, L"f")),
                                               io(unknown(13, L"f\t1 2 3")), io(kEof), io(counts(1, 1, 0, 0)),
                                               io(L"<<< out OBJ_Read_Merge(! group_nb)")}));
}

TEST_F(ObjRead, NumbersAreScannedAsFloatsAndStopAtTheFirstFailure)
{
    const std::string text = "v 1 2 3 1\nv 1 x 3\nv\xC2\xA0" "1 2 3\nv   -1.5e1 .25 +3.\nvt 0.5\nvn 1 2 3 4\n";
    ASSERT_EQ(read("s", text), 1);
    const Movie_Objs* o = objs[0];
    // "v\xC2\xA0" is not "v" and a blank.
    ASSERT_EQ(o->Node_Nb, 3);
    EXPECT_EQ(xyz(o->Node_Pt[0]), (std::vector<float>{1, 2, 3, 0}));
    EXPECT_EQ(xyz(o->Node_Pt[1]), (std::vector<float>{1, 0, 0, 0}));
    EXPECT_EQ(xyz(o->Node_Pt[2]), (std::vector<float>{-15, 0.25f, 3, 0}));
    ASSERT_EQ(o->Text_Nb, 1);
    EXPECT_EQ(std::vector<float>(o->Text_Pt, o->Text_Pt + 2), (std::vector<float>{0.5f, 0}));
    EXPECT_EQ(std::vector<float>(o->Normal_Pt, o->Normal_Pt + 3), (std::vector<float>{1, 2, 3}));
}

TEST_F(ObjRead, CrlfAndMissingFinalLineEndReadLikeLf)
{
    const std::string lf = kCubeVertices + "g top\nf 5 6 7 8\no x\ng sides\nf 1 2 6 5\n";
    ASSERT_EQ(read("lf", lf), 2);
    std::vector<Line> want = sink.lines();
    want[0] = in("crlf");
    std::string crlf;
    for (char c : lf) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    crlf.resize(crlf.size() - 2); // and no final line end
    ASSERT_EQ(read("crlf", crlf), 2);
    EXPECT_EQ(sink.lines(), want);
    EXPECT_STREQ(objs[1]->Name, L"sides");
    EXPECT_EQ(objs[1]->Node_Nb, 4);
}

TEST_F(ObjRead, LongLinesAreReadInPiecesOf119Characters)
{
    // A 130-character comment: its last 11 characters arrive as a line of
    // their own, here a vertex.
    const std::string comment = "#" + std::string(118, '-') + "v 7 8 9 10";
    ASSERT_EQ(comment.size(), 129u);
    // A 119-character line fills a read; its line end comes as an empty one.
    const std::string full = "#" + std::string(118, '=');
    ASSERT_EQ(read("long", comment + "\n" + full + "\nv 1 2 3\nbad\n"), 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("long"), io(unknown(4, L"")), io(unknown(6, L"bad")),
                                               io(kEof), io(counts(2, 0, 0, 0)),
                                               io(L"<<< out OBJ_Read_Merge(! group_nb)")}));
    EXPECT_EQ(xyz(objs[0]->Node_Pt[0]), (std::vector<float>{7, 8, 9, 0}));
    // The same 119-character line at the very end, with or without its line
    // end, reads the same.
    ASSERT_EQ(read("end1", "v 1 2 3\n" + full + "\n"), 1);
    std::vector<Line> with_end = sink.lines();
    ASSERT_EQ(read("end2", "v 1 2 3\n" + full), 1);
    with_end[0] = in("end2");
    EXPECT_EQ(sink.lines(), with_end);
    EXPECT_EQ(sink.lines()[1], io(unknown(3, L"")));
}

TEST_F(ObjRead, NulEndsTheTextOfItsLine)
{
    const char raw[] = "g a\0b\nv 1 2 3\nf 1 1\0 1 1 1 1\nf 1 1 1\nv \0 4\n";
    const std::string text(raw, sizeof raw - 1);
    ASSERT_EQ(read("z", text), 1);
    EXPECT_EQ(sink.lines()[1], io(unknown(5, L"v")));
    ASSERT_EQ(objs[0]->Poly_Nb, 2);
    EXPECT_EQ(objs[0]->Poly_Pt[0].Node_Id_Nb, 2);
    EXPECT_STREQ(objs[0]->Name, L"a");
}

TEST_F(ObjRead, ReferenceOutsideTheListsRejectsTheFile)
{
    const std::vector<Line> tail = {user(L"\xF1\x04" L"ERROR:\x02 Bad reference in face!"),
                                    user(L"\xF1\t File: \x01" L"bad"), user(L"\xF1\t Line: \x01" L"3"),
                                    io(L"<<< out OBJ_Read_Merge(bad reference)")};
    auto expect_rejected = [&](const std::string& text, int nodes, int texts, int polys) {
        EXPECT_EQ(read("bad", text), 0) << text;
        EXPECT_EQ(objs, nullptr);
        std::vector<Line> want = {in("bad"), io(kEof), io(counts(nodes, texts, 0, polys))};
        want.insert(want.end(), tail.begin(), tail.end());
        EXPECT_EQ(sink.lines(), want) << text;
    };
    expect_rejected("v 0 0 0\nv 1 1 1\nf 1 2 3\nf 1 2 1\n", 2, 0, 2);
    expect_rejected("v 0 0 0\nv 1 1 1\nf -3 1 2\nf 1 2 1\n", 2, 0, 2);
    expect_rejected("v 0 0 0\nvt 1 1\nf 1/2 1/1 1/1\n", 1, 1, 1);
    expect_rejected("vt 1 1\nv 0 0 0\nf 1/-2 1/1 1/1\n", 1, 1, 1);
    expect_rejected("# c\nv 0 0 0\nf 1 99999999999 1\n", 1, 0, 1);
    // A face before any vertex has nothing to refer to.
    expect_rejected("# a\n# b\nf 1//1 -1 1\nv 0 0 0\n", 1, 0, 1);
}

TEST_F(ObjRead, ForwardReferencesAndListsTheFileLacksAreAccepted)
{
    // A face may name a vertex a later line defines; texture numbers in a
    // file without "vt" lines are never used.
    ASSERT_EQ(read("fwd", "v 0 0 0\nf 1/7 2/8 3/9\nv 1 0 0\nv 0 1 0\n"), 1);
    EXPECT_EQ(corners(objs[0]->Poly_Pt[0]), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(objs[0]->Text_Nb, 0);
}

TEST_F(ObjRead, UntexturedFacesBeforeTheFirstTextureTakeItsFirstEntry)
{
    const std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\ng a\nf 3 2 1\nvt 0.5 0.5\nvt 1 1\nvn 0 0 1\n"
                             "f 1/2 2/2 3/2\n";
    ASSERT_EQ(read("d", text), 1);
    const Movie_Objs* a = objs[0];
    ASSERT_EQ(a->Poly_Nb, 2);
    ASSERT_EQ(a->Text_Nb, 2);
    EXPECT_EQ(std::vector<int>(a->Poly_Pt[0].Text_Id, a->Poly_Pt[0].Text_Id + 3), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(std::vector<int>(a->Poly_Pt[1].Text_Id, a->Poly_Pt[1].Text_Id + 3), (std::vector<int>{1, 1, 1}));
    ASSERT_EQ(a->Normal_Nb, 1);
    EXPECT_EQ(a->Poly_Pt[0].Normal_Id[2], 0);
}

TEST_F(ObjRead, CrlfFileWithGroupsRelativeReferencesAndSkippedStatements)
{
    const std::string data = test_path("data/obj/");
    ASSERT_EQ(OBJ_Read_Merge(wide(data).c_str(), L"groups_crlf", &objs), 2);
    EXPECT_EQ(sink.lines(),
              (std::vector<Line>{{MSG_TRACE_IO, L">>> in  OBJ_Read_Merge(" + wide(data) + L",groups_crlf)"},
                                 user(L"\xF1\x05WARNING:\x02 To many nodes for polygon!"),
                                 user(L"\xF1\t File: \x01" L"groups_crlf"), user(L"\xF1\t Line: \x01" L"16"),
                                 io(unknown(17, L"o x")), io(unknown(18, L"l 1 2")), io(kEof), io(counts(4, 2, 1, 2)),
                                 io(L"<<< out OBJ_Read_Merge(done)")}));
    const Movie_Objs* first = objs[0];
    const Movie_Objs* second = objs[1];
    EXPECT_STREQ(first->Name, L"first");
    ASSERT_EQ(first->Node_Nb, 3);
    EXPECT_EQ(first->Text_Nb, 2);
    EXPECT_EQ(first->Normal_Nb, 1);
    EXPECT_EQ(std::vector<int>(first->Poly_Pt[0].Text_Id, first->Poly_Pt[0].Text_Id + 3), (std::vector<int>{0, 1, 0}));
    EXPECT_STREQ(second->Name, L"second");
    ASSERT_EQ(second->Node_Nb, 3);
    ASSERT_EQ(second->Poly_Nb, 1);
    EXPECT_EQ(corners(second->Poly_Pt[0]), (std::vector<int>{2, 1, 0, 2}));
    EXPECT_EQ(std::vector<int>(second->Poly_Pt[0].Text_Id, second->Poly_Pt[0].Text_Id + 4),
              (std::vector<int>{1, 0, 1, 1}));
    EXPECT_EQ(xyz(second->Node_Pt[2]), (std::vector<float>{1, 1, 0, 0}));
}

TEST_F(ObjRead, ContinuationOfALongCommentIsACommentToo)
{
    const std::string data = test_path("data/obj/");
    ASSERT_EQ(OBJ_Read_Merge(wide(data).c_str(), L"long_line", &objs), 1);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_TRACE_IO, L">>> in  OBJ_Read_Merge(" + wide(data) + L",long_line)"},
                                               io(kEof), io(counts(1, 0, 0, 1)),
                                               io(L"<<< out OBJ_Read_Merge(! group_nb)")}));
    free_object_list(objs, -1);
    objs = nullptr;
    ASSERT_EQ(OBJ_Read_Merge(wide(data).c_str(), L"cube", &objs), 1);
    EXPECT_EQ(objs[0]->Poly_Nb, 6);
}

// Statements hidden in the second piece of long lines are not in the quick
// line count that sizes the lists, so the lists grow while reading.
TEST_F(ObjRead, StatementsInLongLinePiecesGrowTheLists)
{
    for (const std::string group : {"", "g all\n"}) {
        std::string text = group;
        const std::string pad = "#" + std::string(118, '-');
        for (int i = 0; i < 2500; ++i) text += pad + "v " + std::to_string(i) + " 0 0\n";
        for (int i = 1; i <= 2500; ++i) text += pad + "f " + std::to_string(i) + " 1 2\n";
        ASSERT_EQ(read("grow", text), 1);
        EXPECT_EQ(sink.lines()[2], io(counts(2500, 0, 0, 2500)));
        ASSERT_EQ(objs[0]->Node_Nb, 2500);
        EXPECT_EQ(objs[0]->Node_Pt[2499].Coord.x, 2499.0f);
        ASSERT_EQ(objs[0]->Poly_Nb, 2500);
        EXPECT_EQ(corners(objs[0]->Poly_Pt[2499]), (std::vector<int>{2499, 0, 1}));
    }
}

TEST_F(ObjRead, MissingFileGivesTheOpenFailureBlock)
{
    EXPECT_EQ(read_again("absent"), 0);
    const std::wstring err = Error_Perror(ENOENT);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{in("absent"), user(L"\xF1\x04" L"ERROR:\x02 Unable to open file!"),
                                               user(L"\xF1\t dir: \x01" + wide(dir)),
                                               user(L"\xF1\t file \x01" L"absent"), user(L"\xF1\t\x02" + err),
                                               io(L"<<< out OBJ_Read_Merge(! f_in)")}));
    EXPECT_EQ(std::wstring(Kren_Err_Str), err);
    EXPECT_EQ(objs, nullptr);
}

TEST_F(ObjRead, PathsUpTo770CharactersAreReadLongerOnesRefused)
{
    // Short components, so that the system itself takes the long path.
    std::string deep = dir;
    while (deep.size() < 640) deep += std::string(100, 'd') + "/";
    ASSERT_EQ(system(("mkdir -p '" + deep + "'").c_str()), 0);
    const std::string name(770 - 4 - deep.size(), 'n');
    write_file(deep + name + ".obj", "v 0 0 0\n");
    EXPECT_EQ(OBJ_Read_Merge(wide(deep).c_str(), wide(name).c_str(), &objs), 1);
    free_object_list(objs, -1);
    objs = nullptr;
    sink.clear();
    EXPECT_EQ(OBJ_Read_Merge(wide(deep).c_str(), wide(name + "n").c_str(), &objs), 0);
    ASSERT_EQ(sink.lines().size(), 6u);
    EXPECT_EQ(sink.lines()[4], user(L"\xF1\t\x02" + std::wstring(Error_Perror(ENAMETOOLONG))));
    EXPECT_EQ(sink.lines()[5], io(L"<<< out OBJ_Read_Merge(! f_in)"));
}

TEST_F(ObjRead, DirectoryInPlaceOfTheFileFailsLikeAMissingOne)
{
    ASSERT_EQ(system(("mkdir '" + dir + "d.obj'").c_str()), 0);
    EXPECT_EQ(read_again("d"), 0);
    EXPECT_EQ(sink.lines().back(), io(L"<<< out OBJ_Read_Merge(! f_in)"));
    EXPECT_EQ(sink.lines()[1], user(L"\xF1\x04" L"ERROR:\x02 Unable to open file!"));
}

TEST_F(ObjRead, NullResultPlaceReadsNothing)
{
    EXPECT_EQ(OBJ_Read_Merge(L"/", L"x", nullptr), 0);
    EXPECT_EQ(sink.lines(), (std::vector<Line>{{MSG_TRACE_IO, L">>> in  OBJ_Read_Merge(/,x)"},
                                               io(L"<<< out OBJ_Read_Merge(! out)")}));
}

TEST_F(ObjRead, EmptyFileGivesOneEmptyObject)
{
    ASSERT_EQ(read("empty", ""), 1);
    EXPECT_EQ(sink.lines()[2], io(counts(0, 0, 0, 0)));
    EXPECT_EQ(objs[0]->Node_Pt, nullptr);
    EXPECT_EQ(objs[0]->Poly_Pt, nullptr);
}

TEST_F(ObjRead, ListsGrowPastTheirFirstBlock)
{
    std::string text;
    for (int i = 0; i < 3000; ++i) text += "v " + std::to_string(i) + " 0 0\nvt 0 0\nvn 0 0 1\n";
    text += "g big\n";
    for (int i = 1; i + 2 <= 3000; ++i)
        text += "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + 2) + "\n";
    ASSERT_EQ(read("big", text), 1);
    ASSERT_EQ(objs[0]->Node_Nb, 3000);
    EXPECT_EQ(objs[0]->Node_Pt[2999].Coord.x, 2999.0f);
    EXPECT_EQ(sink.lines()[2], io(counts(3000, 3000, 3000, 2998)));
    // Every corner names the last texture coordinate and normal read.
    EXPECT_EQ(objs[0]->Text_Nb, 1);
    EXPECT_EQ(objs[0]->Normal_Nb, 1);
    EXPECT_EQ(objs[0]->Poly_Nb, 2998);
    EXPECT_EQ(corners(objs[0]->Poly_Pt[2997]), (std::vector<int>{2997, 2998, 2999}));
}

// Every allocation that fails sends one memory-error line, leaves no result
// and no leak; together the runs name every variable of the reader.
TEST_F(ObjRead, EveryAllocationFailureIsReportedAndReleased)
{
    const std::string groups = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\ng a\nf 1/1/1 2/1/1 3/1/1\ng b\n"
                               "f 3/1/1 2/1/1 1/1/1\n";
    const std::string single = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n";
    std::set<std::string> seen;
    for (const std::string& text : {groups, single}) {
        write_file(dir + "m.obj", text);
        int runs = for_each_alloc_failure([&](long) {
            sink.clear();
            Movie_Objs** out = nullptr;
            int n = OBJ_Read_Merge(wide(dir).c_str(), L"m", &out);
            std::vector<std::wstring> mem = sink.texts(MSG_MEMORY);
            if (n == 0) {
                EXPECT_EQ(out, nullptr);
                ASSERT_EQ(mem.size(), 1u);
                // The memory line ends the transcript; no exit line follows.
                EXPECT_EQ(sink.lines().back().flag, MSG_MEMORY);
                std::string line = narrow(mem[0]);
                EXPECT_EQ(line.compare(0, 5, "line "), 0) << line;
                EXPECT_NE(line.find(" of obj_read \nmemory error in "), std::string::npos) << line;
                size_t v = line.find("(var=");
                ASSERT_NE(v, std::string::npos);
                size_t e = line.find(", dim=", v);
                if (e == std::string::npos) e = line.rfind(')');
                seen.insert(line.substr(v + 5, e - v - 5));
            } else {
                EXPECT_TRUE(mem.empty());
                free_object_list(out, -1);
            }
        });
        EXPECT_GT(runs, 10);
    }
    const std::set<std::string> want = {"buffer", "group_start", "group_stop", "group_name", "group_name[group_nb]",
                                        "node_pt", "text_pt", "nrml_pt", "poly_pt", "*obj", "(*obj)[k]", "n_flag",
                                        "n_map", "t_flag", "t_map", "l_flag", "l_map", "(*obj)[k]->Node_Pt",
                                        "(*obj)[k]->Text_Pt", "(*obj)[k]->Normal_Pt", "(*obj)[k]->Poly_Pt",
                                        "(*obj)[k]->Name", "(*obj)[0]->Path", "(*obj)[0]->Name"};
    EXPECT_EQ(seen, want);
}

TEST_F(ObjRead, MemoryLinesGiveTheSizeAskedFor)
{
    write_file(dir + "m.obj", "v 0 0 0\nf 1 1 1\n");
    for (long n = 1;; ++n) {
        sink.clear();
        pfx::alloc_fail_at(n);
        Movie_Objs** out = nullptr;
        OBJ_Read_Merge(wide(dir).c_str(), L"m", &out);
        pfx::alloc_fail_at(0);
        free_object_list(out, -1);
        std::vector<std::wstring> mem = sink.texts(MSG_MEMORY);
        ASSERT_EQ(mem.size(), 1u);
        std::string line = narrow(mem[0]);
        if (line.find("var=node_pt") != std::string::npos) {
            EXPECT_NE(line.find("memory error in realloc (var=node_pt, dim=1024x96)"), std::string::npos) << line;
        } else if (line.find("var=poly_pt") != std::string::npos) {
            EXPECT_NE(line.find("memory error in realloc (var=poly_pt, dim=1024x120)"), std::string::npos) << line;
            break;
        }
    }
}

} // namespace
} // namespace pfx_test
