// Every reader over every malformed file of tests/data/mov/bad: each is
// rejected with its exit reason (expected.txt), a user block where the
// reason is not one of the quiet ones, a null result, and nothing leaked
// (the sanitizer preset checks that part).
#include <dirent.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "native_io/mov_cases.h"

using namespace mov_test;
using pfx_test::wide;

namespace {

struct Expected {
    std::wstring single, merge;
};

const std::string kDir = pfx_test::test_path("data/mov/bad/");

std::map<std::string, Expected> manifest()
{
    std::map<std::string, Expected> out;
    std::ifstream in(kDir + "expected.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string name, single, merge;
        std::getline(fields, name, '\t');
        std::getline(fields, single, '\t');
        std::getline(fields, merge, '\t');
        out[name] = {wide(single), wide(merge)};
    }
    return out;
}

std::set<std::string> corpus_files()
{
    std::set<std::string> out;
    if (DIR* d = opendir(kDir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string n = e->d_name;
            if (n.size() > 4 && n.compare(n.size() - 4, 4, ".mov") == 0) out.insert(n.substr(0, n.size() - 4));
        }
        closedir(d);
    }
    return out;
}

// The exits that the file format gives no user lines.
bool quiet(const std::wstring& reason)
{
    return reason == L"! nb_obj" || reason == L"part_stop < part_start" ||
           reason == L"! nb_obj or node or...";
}

class MovCorpus : public pfx_test::PfxTest {
protected:
    void check_lines(const std::wstring& op, const std::string& name, const std::wstring& reason)
    {
        const std::vector<Line>& lines = sink.lines();
        ASSERT_GE(lines.size(), 2u) << name;
        EXPECT_EQ(lines.front(), reader_entry(op, wide(kDir), wide(name))) << name;
        EXPECT_EQ(lines.back(), reader_exit(op, reason)) << name;
        if (reason == L"done") return;
        if (quiet(reason)) {
            EXPECT_TRUE(sink.texts(MSG_USER).empty()) << name;
        } else {
            std::vector<std::wstring> user = sink.texts(MSG_USER);
            ASSERT_GE(user.size(), 3u) << name;
            EXPECT_EQ(user[0].substr(0, 9), L"\xF1\x04" L"ERROR:\x02") << name;
            EXPECT_EQ(user[1], L"\xF1\t \x01" + wide(name) + L".mov") << name;
        }
        for (const Line& l : lines) EXPECT_NE(l.flag, MSG_MEMORY) << name;
    }
};

TEST_F(MovCorpus, ManifestNamesEveryFile)
{
    std::set<std::string> listed;
    for (const auto& [name, e] : manifest()) listed.insert(name);
    EXPECT_GE(listed.size(), 30u);
    EXPECT_EQ(listed, corpus_files());
}

TEST_F(MovCorpus, SingleObjectReaderRejectsEveryFile)
{
    for (const auto& [name, e] : manifest()) {
        sink.clear();
        Movie_Objs* obj = Movie_Read(wide(kDir).c_str(), wide(name).c_str());
        EXPECT_EQ(obj != nullptr, e.single == L"done") << name;
        check_lines(L"Movie_Read", name, e.single);
        pfx_test::free_object(obj);
    }
}

TEST_F(MovCorpus, MultiObjectReaderRejectsEveryFile)
{
    for (const auto& [name, e] : manifest()) {
        sink.clear();
        Movie_Objs** list = nullptr;
        int n = Movie_Read_Merge(wide(kDir).c_str(), wide(name).c_str(), &list);
        EXPECT_EQ(n > 0, e.merge == L"done") << name;
        EXPECT_EQ(list != nullptr, n > 0) << name;
        check_lines(L"Movie_Read_Merge", name, e.merge);
        pfx_test::free_object_list(list, n);
    }
}

} // namespace
