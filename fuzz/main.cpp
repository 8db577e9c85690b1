// The entry point of one fuzz executable; OSTRADB_FUZZ_TARGET names its target.

#include <cstddef>
#include <cstdint>

#include "fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ostradb::fuzz::Target target = ostradb::fuzz::Find(OSTRADB_FUZZ_TARGET);
    target({reinterpret_cast<const char*>(data), size});
    return 0;
}
