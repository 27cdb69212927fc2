// The printer files TR_PTRG, TR_PTRC, TR_PTRP and TR_PTRCA, byte by byte.
#pragma once

#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

/// TR_PTRG: a printer. Key 1: number; key 2: name.
struct PrinterRecord {
    boost::endian::little_uint16_t printer;  // 0   tr_code
    std::uint8_t unused_2[2];                // 2
    char name[12];                           // 4
};
static_assert(sizeof(PrinterRecord) == 16 && offsetof(PrinterRecord, name) == 4);

/// TR_PTRC: how a printer is connected. Key 1: printer, connection; 2: printer, device; 3: printer, name.
struct ConnectionRecord {
    boost::endian::little_uint16_t printer;  // 0
    std::uint8_t connection;                 // 2
    std::uint8_t to_directory;               // 3   the device is a directory, one file per job
    char device[40];                         // 4
    char name[20];                           // 44
};
static_assert(sizeof(ConnectionRecord) == 64 && offsetof(ConnectionRecord, to_directory) == 3);
static_assert(offsetof(ConnectionRecord, device) == 4 && offsetof(ConnectionRecord, name) == 44);

/// TR_PTRP: a page form of a printer. Key 1: printer, property; 2: printer, columns, orientation; 3: printer,
/// description.
struct PropertyRecord {
    boost::endian::little_uint16_t printer;  // 0
    std::uint8_t property;                   // 2
    std::uint8_t orientation;                // 3   0: "L", else "P"
    boost::endian::little_uint16_t columns;  // 4
    boost::endian::little_uint16_t lines;    // 6   9999: endless
    char description[32];                    // 8
    char setup_text[122];                    // 40  with hexadecimal escapes
    char end_text[122];                      // 162
};
static_assert(sizeof(PropertyRecord) == 284 && offsetof(PropertyRecord, columns) == 4);
static_assert(offsetof(PropertyRecord, description) == 8 && offsetof(PropertyRecord, setup_text) == 40);
static_assert(offsetof(PropertyRecord, end_text) == 162);

/// TR_PTRCA: kept, and read by no report. Key 1: printer, property, capability.
struct CapabilityRecord {
    boost::endian::little_uint16_t printer;  // 0
    std::uint8_t property;                   // 2
    std::uint8_t capability;                 // 3
    char text[122];                          // 4
};
static_assert(sizeof(CapabilityRecord) == 126);

// Definitions of the four files for IXUPDFCB; the first text of each is that of the file.
inline constexpr const char *printer_definition[] = {"TR_PTR_general,16", "tr_code,I,1,2", "name,C,5,16"};
inline constexpr const char *connection_definition[] = {"TR_PTR_connections,64", "code-id,I,1,2,I,3,3",
                                                        "code-dev,I,1,2,C,5,44", "cd-name,I,1,2,C,45,64"};
inline constexpr const char *property_definition[] = {"TR_PTR_properties,284", "code-id,I,1,2,I,3,3",
                                                      "cd-cols,I,1,2,I,5,6,I,4,4", "cd-desc,I,1,2,C,9,40"};
inline constexpr const char *capability_definition[] = {"TR_PTR_codes,126", "code-cap,I,1,2,I,3,3,I,4,4"};
