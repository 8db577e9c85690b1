#pragma once

// Fuzz targets: one function per reader of outside bytes (server answers, settings files,
// text typed by users). Each is built into an executable of its own (see CMakeLists.txt).
// A target lets the library's own exceptions pass, since refusing bad input is their job;
// anything else escaping, a sanitizer report or a broken FUZZ_CHECK is a finding.

#include <string_view>

namespace ostradb::fuzz {

using Target = void (*)(std::string_view input);

// The target named name; ends the process when there is none.
Target Find(std::string_view name);

// Drives real commands against a server that answers every connection with input.
void Exchange(std::string_view input);

// Ends the process with a message naming the property an input broke.
[[noreturn]] void Violated(const char* check, const char* file, int line);
// The same for two texts that differ, showing both.
[[noreturn]] void Differ(std::string_view a, std::string_view b, const char* check,
                         const char* file, int line);
inline void CheckSame(std::string_view a, std::string_view b, const char* check, const char* file,
                      int line) {
    if (a != b) Differ(a, b, check, file, line);
}

}  // namespace ostradb::fuzz

#define FUZZ_CHECK(condition) \
    ((condition) ? void() : ::ostradb::fuzz::Violated(#condition, __FILE__, __LINE__))
#define FUZZ_CHECK_SAME(a, b) ::ostradb::fuzz::CheckSame((a), (b), #a " == " #b, __FILE__, __LINE__)
