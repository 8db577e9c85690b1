#pragma once

// OSTRADB_API marks what the shared library exports; everything else is hidden.
// Applications linking the static library get OSTRADB_STATIC from the CMake target.
#if defined(OSTRADB_STATIC)
#define OSTRADB_API
#elif defined(_WIN32)
#if defined(OSTRADB_BUILDING)
#define OSTRADB_API __declspec(dllexport)
#else
#define OSTRADB_API __declspec(dllimport)
#endif
#else
#define OSTRADB_API __attribute__((visibility("default")))
#endif
