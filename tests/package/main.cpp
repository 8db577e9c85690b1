// An application built against the installed package: the umbrella header compiles on its own
// and both library targets link.
#include <ostradb/ostradb.hpp>

#include <cstdio>

int main() {
    ostradb::TStringList list{"Скважина 12", "N105-2"};
    ostradb::SortItemsList(list, true);
    const bool ok =
        list.CommaText() == "\"Скважина 12\",N105-2" && ostradb::Utf8ToCp1251(list[0]).size() == 11;
    std::puts(ok ? "ok" : "wrong");
    return ok ? 0 : 1;
}
