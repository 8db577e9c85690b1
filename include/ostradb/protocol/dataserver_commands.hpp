#pragma once

// Types of the data-layer calls: the handle of an object that the server has opened. Each
// handle travels as a child element named by its role ("LFHandle", "LRHandle", "TDescHandle",
// "ObjHandle", "TableHandle", "SearchDataH", "SOHandle") with the attributes "H", "T" and "M":
//   <LRHandle H="-1" T="3" M="0"/>

#include <cstdint>

namespace ostradb {

// An object opened on the server's data layer. The client never interprets the fields; it
// carries them from one call's answer to the next call's request.
struct TObjectHandle {
    std::int32_t H = 0;  // the handle number
    std::uint8_t T = 0;  // the object type
    std::uint8_t M = 0;  // a mode or marker

    bool operator==(const TObjectHandle&) const = default;
};

// Chooses the save command of DatServ_Save_WS ("ds_save_ws") and DatServ_Save_WSExRW
// ("ds_save_ws_exrw").
enum _ESaveWSMode : std::uint8_t { swsmNormal, swsmExRW };

}  // namespace ostradb
