#include "ostradb/util/file_names.hpp"

#include <gtest/gtest.h>

namespace ostradb {
namespace {

TEST(FileNames, ExtractFileName) {
    struct Case {
        const char* path;
        const char* name;
    };
    for (const Case& c : {Case{"C:\\data\\well.ws", "well.ws"}, Case{"/srv/db/a.ini", "a.ini"},
                          Case{"C:well.ws", "well.ws"}, Case{"mixed/dir\\x", "x"},
                          Case{"dir\\", ""}, Case{"plain", "plain"}, Case{"", ""}}) {
        EXPECT_EQ(ExtractFileName(c.path), c.name) << c.path;
    }
}

TEST(FileNames, FixEmptyExtension) {
    struct Case {
        const char* in;
        const char* out;
    };
    for (const Case& c :
         {Case{"a\\b.", "a\\b"}, Case{"b.", "b"}, Case{"C:b.", "C:b"}, Case{"a..", "a."},
          Case{"a.b", "a.b"}, Case{"dir.\\x", "dir.\\x"}, Case{"dir./x", "dir./x"}, Case{".", "."},
          Case{"..", ".."}, Case{"a\\..", "a\\.."}, Case{"a/.", "a/."}, Case{"dir\\", "dir\\"},
          Case{"", ""}}) {
        EXPECT_EQ(FixEmptyExtension(c.in), c.out) << c.in;
    }
}

}  // namespace
}  // namespace ostradb
