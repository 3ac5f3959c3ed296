#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

#include "support/capture.h"
#include "tarnwick.h"

using namespace pfx_test;

namespace {

TEST(Tarnwick, GenericNameSplitsBothSeparatorsAndJoinsBack)
{
    struct Case {
        const char *path, *dir, *name, *ext;
    } cases[] = {{"/a/b/c.mov", "/a/b/", "c", ".mov"},
                 {"C:\\models\\part.v2.stl", "C:\\models\\", "part.v2", ".stl"},
                 {"name", "", "name", ""},
                 {"/dir.d/name", "/dir.d/", "name", ""},
                 {".hidden", "", ".hidden", ""},
                 {"", "", "", ""},
                 {"/x/Grüße.obj", "/x/", "Grüße", ".obj"}};
    for (const Case& c : cases) {
        char dir[64], name[64], ext[64];
        Get_Generic_Name(c.path, dir, name, ext);
        EXPECT_STREQ(dir, c.dir) << c.path;
        EXPECT_STREQ(name, c.name) << c.path;
        EXPECT_STREQ(ext, c.ext) << c.path;
        EXPECT_EQ(std::string(dir) + name + ext, c.path);
    }
    wchar_t wname[32];
    Get_Generic_Name(L"/lib/Polyfex.so", nullptr, wname, nullptr);
    EXPECT_STREQ(wname, L"Polyfex");
}

TEST(Tarnwick, ConversionsKeepNonAsciiText)
{
    EXPECT_STREQ(Char_2_Wchar("Grüße"), L"Grüße");
    EXPECT_STREQ(Wchar_2_Char(L"Grüße \U0001F600"), "Grüße \xF0\x9F\x98\x80");
    // A byte that is not UTF-8 stands for itself.
    EXPECT_STREQ(Char_2_Wchar("caf\xE9"), L"caf\xE9");
    EXPECT_EQ(Char_2_Wchar(nullptr), nullptr);
    EXPECT_EQ(Wchar_2_Char(nullptr), nullptr);
}

TEST(Tarnwick, IntToStrGroupsThousands)
{
    EXPECT_STREQ(Int_2_Str(0, nullptr), "0");
    EXPECT_STREQ(Int_2_Str(999, nullptr), "999");
    EXPECT_STREQ(Int_2_Str(1000, nullptr), "1,000");
    EXPECT_STREQ(Int_2_Str(-1234567, nullptr), "-1,234,567");
    EXPECT_STREQ(Int_2_Str(INT64_MIN, nullptr), "-9,223,372,036,854,775,808");
    char buf[32];
    EXPECT_EQ(Int_2_Str(12, buf), buf);
}

TEST(Tarnwick, BinaryFieldsAndStripping)
{
    const unsigned char le[4] = {0x01, 0x02, 0x00, 0x80};
    EXPECT_EQ(Get_Int(0, le), static_cast<int>(0x80000201u));
    EXPECT_EQ(Get_Int(1, le), 0x01020080);
    const unsigned char one[4] = {0x00, 0x00, 0x80, 0x3F};
    EXPECT_EQ(Get_Float(0, one), 1.0f);
    const unsigned char one_be[4] = {0x3F, 0x80, 0x00, 0x00};
    EXPECT_EQ(Get_Float(1, one_be), 1.0f);
    char line[] = " \t solid cube  \r\n";
    Str_Strip_Spaces(line);
    EXPECT_STREQ(line, "solid cube");
    char blank[] = "   \n";
    Str_Strip_Spaces(blank);
    EXPECT_STREQ(blank, "");
}

TEST(Tarnwick, VectorAndMatrix)
{
    Vector_4 v{3, 0, 4, 2};
    Vector_4 n = v.normalise();
    EXPECT_FLOAT_EQ(n.x, 0.6f);
    EXPECT_FLOAT_EQ(n.z, 0.8f);
    EXPECT_EQ(n.w, 2.0f);
    Vector_4 zero{0, 0, 0, 1};
    Vector_4 z = zero.normalise();
    EXPECT_EQ(z.x, 0.0f);
    EXPECT_EQ(z.y, 0.0f);
    EXPECT_EQ(z.z, 0.0f);
    EXPECT_EQ(z.w, 1.0f);
    v += Vector_4{1, 1, 1, 1};
    v /= 2.0f;
    EXPECT_EQ(v.x, 2.0f);
    EXPECT_EQ(v.w, 1.5f);
    Matrix_4x4 m;
    std::memset(&m, 0xff, sizeof m);
    m.init();
    EXPECT_EQ(m[2][2], 1.0);
    EXPECT_EQ(m[3][0], 0.0);
}

TEST(Tarnwick, SinkFormatsBothFormsAlikeWhateverTheLocale)
{
    CaptureSink sink;
    // A host may run under any locale; numbers and UTF-8 text must not change.
    const char* old = std::setlocale(LC_ALL, nullptr);
    std::string saved = old ? old : "C";
    std::setlocale(LC_ALL, "C.UTF-8");
    Error_Fct(hwnd, 7, "%ls|%hs|%s|%6.2f|%-4d|%5.3hs|%x", L"Grüße", "Grüße", "Grüße", 1.5, 42, "abcdef", 255u);
    Error_Fct(hwnd, 8, L"%ls|%hs|%s|%6.2f|%-4d|%5.3hs|%x", L"Grüße", "Grüße", L"Grüße", 1.5, 42, "abcdef", 255u);
    Error_Fct(hwnd, 9, "\xF1\x04" "ERROR:\x02 %ls %hs %%", (const wchar_t*)nullptr, (const char*)nullptr);
    Error_Fct(hwnd, 10, L"\x01%40.40hs", "header");
    std::setlocale(LC_ALL, saved.c_str());
    std::vector<Line> expected = {
        {7, L"Grüße|Grüße|Grüße|  1.50|42  |  abc|ff"},
        {8, L"Grüße|Grüße|Grüße|  1.50|42  |  abc|ff"},
        {9, L"\xF1\x04" L"ERROR:\x02 (null) (null) %"},
        {10, L"\x01                                  header"},
    };
    EXPECT_EQ(sink.lines(), expected);
}

TEST(Tarnwick, ErrorTextAndProgressPointers)
{
    std::wstring text = Error_Perror(ENOENT);
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(Util_Progress_Start, nullptr);
    EXPECT_EQ(Util_Progress_Inc, nullptr);
    EXPECT_EQ(Util_Progress_PingPong, nullptr);
    EXPECT_EQ(sizeof Kren_Err_Str / sizeof Kren_Err_Str[0], static_cast<size_t>(TARNWICK_ERR_STR_CAP));
}

TEST(Tarnwick, DefaultHandlerShowsUserLinesWithoutMarkup)
{
    Tarnwick_Set_Handler(nullptr, nullptr);
    testing::internal::CaptureStderr();
    Error_Fct(hwnd, 2, L"\xF1\x04" L"ERROR:\x02 Unable to open file!");
    Error_Fct(hwnd, 1, "line 12   of movie_read \nmemory error");
    Error_Fct(hwnd, 0x90000106u, "hidden trace");
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, "ERROR: Unable to open file!\nline 12   of movie_read \nmemory error\n");
}

} // namespace
