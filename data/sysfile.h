// The system file RVSYS.TXT, byte by byte.
//
// A plain file without a header. It begins with 25 rows of 64 bytes, then come tables of small records, each
// at a place of its own. A record of only zero bytes is empty. Programs reach it through `iotab` only, which
// finds a record by the `sys_region` of its table.
//
//      0  rows 1 to 25            64 each
//   2000  title codes            32 each
//   2640  user slots             64 each
//  14880  currencies             36 each
//  18444  colours                20 each
//  40084  (lock bytes only: one for a kind of batch process and a user, kind * 99 + slot)
//  42780  size systems           20 each
//  44760  size kinds             20 each
//  46900  countries              28 each
// 111468  actions                64 each
//
// Between these tables are others that nothing here reads; their bytes are left as they are.
#pragma once

#include "data/ondisk.h"

/// Place of a table: record n, counted from 1, lies at base + (n - 1) * size.
struct sys_region {
    std::int32_t base;
    int highest;
    int size;
    [[nodiscard]] constexpr std::int32_t offset(int n) const {
        return base + (n - 1) * size;
    }
    [[nodiscard]] constexpr std::int32_t end() const {
        return base + highest * size;
    }
};

inline constexpr sys_region region_rows{0, 25, 64};
inline constexpr sys_region region_titles{2000, 20, 32};
inline constexpr sys_region region_users{2640, 99, 64};
inline constexpr sys_region region_currencies{14880, 99, 36};
inline constexpr sys_region region_colours{18444, 999, 20};
inline constexpr sys_region region_size_systems{42780, 99, 20};  // list A, maatstelsel
inline constexpr sys_region region_size_kinds{44760, 99, 20};    // list B, maatsoort
inline constexpr sys_region region_countries{46900, 99, 28};
inline constexpr sys_region region_actions{111468, 99, 64};

/// The lock byte of a batch process of a kind (up to 15) and a user slot.
inline constexpr std::int32_t batch_lock_base = 40084;
inline constexpr int batch_lock_highest_kind = 15;

static_assert(region_rows.end() <= region_titles.base);
static_assert(region_titles.end() <= region_users.base);
static_assert(region_users.end() <= region_currencies.base);
static_assert(region_currencies.end() <= region_colours.base);
static_assert(region_colours.end() <= batch_lock_base);
static_assert(batch_lock_base + batch_lock_highest_kind * 99 + 99 < region_size_systems.base);
static_assert(region_size_systems.end() <= region_size_kinds.base);
static_assert(region_size_kinds.end() <= region_countries.base);
static_assert(region_countries.end() <= region_actions.base);

/// Numbers of the rows.
enum sys_row_number : std::int32_t {
    row_settings = 1,
    row_label_chain = 4,
    row_serial = 5,
    row_limits = 8,
    row_price_chain = 9,
    row_status = 10,
    row_criteria_chain = 12,
    row_ean = 14,
    row_country = 15,
    row_document = 18,
    row_dates = 19,
    row_transit = 20,
};

/// Bits of SysRow1::mode.
enum system_mode : std::uint8_t {
    mode_customers = 1,         // customers are kept
    mode_customer_labels = 2,   // sold labels are linked to customers
    mode_till_list = 4,         // the list of tills is loaded at start-up
    mode_selection_marks = 32,  // selection marks of customers go to the tills
    mode_saving = 64,           // saving actions are in use
};

/// Row 1, settings. Read at start-up, never written by a check.
struct SysRow1 {
    char company[30];                 // 0   company name
    std::uint8_t mode;                // 30  bits of system_mode
    std::uint8_t unused_31;           // 31
    std::uint8_t journal_options;     // 32  bit 4: orders of kind 2 keep their text
    std::uint8_t session_options;     // 33  bit 1: row 8 holds the session limit
    std::uint8_t unused_34[4];        // 34
    std::uint8_t divisor;             // 38  divisor of the series handling
    std::uint8_t branches;            // 39  0 or 1: one shop
    std::uint8_t unused_40;           // 40
    std::uint8_t size_system;         // 41  the size system in which sizes are shown
    little_uint16_t group_value[11];  // 42  by value code of the article group, 1 to 10
};
static_assert(sizeof(SysRow1) == 64);
static_assert(offsetof(SysRow1, mode) == 30 && offsetof(SysRow1, journal_options) == 32);
static_assert(offsetof(SysRow1, session_options) == 33 && offsetof(SysRow1, divisor) == 38);
static_assert(offsetof(SysRow1, branches) == 39 && offsetof(SysRow1, size_system) == 41);
static_assert(offsetof(SysRow1, group_value) == 42);

/// Rows 4 (label blocks), 9 (price blocks) and 12 (order criteria blocks): head of the free chain. The
/// chain ends at `end_mark`, which is also the number of blocks in the file.
struct SysRow4Chain {
    little_int32_t free_head;   // 0   first free block
    little_int32_t end_mark;    // 4   blocks in the file
    little_int32_t free_count;  // 8   blocks on the free chain; kept in row 4 only
    std::uint8_t unused_12[52];
};
static_assert(sizeof(SysRow4Chain) == 64);
static_assert(offsetof(SysRow4Chain, end_mark) == 4 && offsetof(SysRow4Chain, free_count) == 8);

/// Row 5, serial numbers.
struct SysRow5 {
    little_int32_t last_serial;  // 0   runs from 1000 to 9999999
    std::uint8_t unused_4[60];
};
static_assert(sizeof(SysRow5) == 64);

/// Row 8, limits.
struct SysRow8 {
    std::uint8_t unused_0[2];
    little_uint16_t session_limit;  // 2   highest session number in use
    std::uint8_t customer_stamp;    // 4   stamp for changed customers
    std::uint8_t unused_5[59];
};
static_assert(sizeof(SysRow8) == 64);
static_assert(offsetof(SysRow8, session_limit) == 2 && offsetof(SysRow8, customer_stamp) == 4);

/// Values of SysRow10::state.
enum system_state : std::uint8_t {
    state_normal = 0,
    state_wrong_files = 1,
    state_missing_files = 2,
    state_critical_stop = 3,
    state_busy = 9,
};

/// Release of the data, with its blank; compared byte for byte.
inline constexpr char data_release[] = "8.60 ";

/// Row 10, system status.
struct SysRow10 {
    std::uint8_t unused_0[8];
    char busy_text[50];  // 8   process at work, "@n" stands for text n
    char release[5];     // 58  "8.60 "
    std::uint8_t state;  // 63  system_state
};
static_assert(sizeof(SysRow10) == 64);
static_assert(offsetof(SysRow10, busy_text) == 8 && offsetof(SysRow10, release) == 58);
static_assert(offsetof(SysRow10, state) == 63);

/// Row 14, generator of instore EAN codes.
struct SysRow14 {
    little_uint32_t last_ean;  // 0
    std::uint8_t unused_4[60];
};
static_assert(sizeof(SysRow14) == 64);

/// Row 15, country settings.
struct SysRow15 {
    char home_currency[3];           // 0
    char default_country[3];         // 3
    std::uint8_t label_digits;       // 6   6, 7 or 8
    std::uint8_t unused_7[11];       // 7
    std::uint8_t ean_check_option;   // 18  read by the EAN code check
    std::uint8_t ean_module_option;  // 19  read by the EAN module
    std::uint8_t unused_20[44];      // 20
};
static_assert(sizeof(SysRow15) == 64);
static_assert(offsetof(SysRow15, default_country) == 3 && offsetof(SysRow15, label_digits) == 6);
static_assert(offsetof(SysRow15, ean_check_option) == 18 && offsetof(SysRow15, ean_module_option) == 19);

/// Row 18, document numbers.
struct SysRow18 {
    little_int32_t last_document;  // 0   runs from 1 to 999999
    std::uint8_t unused_4[60];
};
static_assert(sizeof(SysRow18) == 64);

/// Row 19, day of the last error-free run of each check, 0 for never.
struct SysRow19 {
    little_uint16_t labels;         // 0
    little_uint16_t series;         // 2
    little_uint16_t prices;         // 4
    little_uint16_t sizes;          // 6
    little_uint16_t customers;      // 8
    little_uint16_t transit;        // 10
    little_uint16_t ean;            // 12
    std::uint8_t unused_14[8];      // 14
    little_uint16_t order_numbers;  // 22
    little_uint16_t barcodes;       // 24
    std::uint8_t unused_26[4];      // 26
    little_uint16_t master;         // 30
    little_uint16_t titles;         // 32
    little_uint16_t countries;      // 34
    std::uint8_t unused_36[2];      // 36
    little_uint16_t journals;       // 38
    std::uint8_t zeroed[24];        // 40  zeroed at the start of every session
};
static_assert(sizeof(SysRow19) == 64);
static_assert(offsetof(SysRow19, ean) == 12 && offsetof(SysRow19, order_numbers) == 22);
static_assert(offsetof(SysRow19, barcodes) == 24 && offsetof(SysRow19, master) == 30);
static_assert(offsetof(SysRow19, journals) == 38 && offsetof(SysRow19, zeroed) == 40);

/// Row 20, goods in transit.
struct SysRow20 {
    little_int32_t in_use;  // 0   not 0 when branches send goods to one another
    std::uint8_t unused_4[60];
};
static_assert(sizeof(SysRow20) == 64);

/// Values of UserSlot::status. Above 9 the label chains can't be trusted.
enum program_status : std::uint8_t {
    status_idle = 0,
    status_working = 1,
    status_in_chain_update = 10,
    status_chains_suspect = 11,
    status_prices_suspect = 12,
};

/// A user slot. The first four bytes of the print set-up are copied around as a whole.
struct UserSlot {
    char name[18];                   // 0   stored by SCRAMBLE
    little_uint16_t printer;         // 18  print set-up: printer number
    std::uint8_t print_flags;        // 20  print set-up: flags
    std::uint8_t print_connection;   // 21  print set-up: connection
    char terminal[6];                // 22  terminal number, without "tty" or "pts"
    little_uint16_t report_options;  // 28
    std::uint8_t carried_30[8];      // 30
    std::uint8_t status;             // 38  program_status
    char rights;                     // 39  'I': may not change data
    little_int32_t handover_time;    // 40  seconds since 1970
    little_uint16_t menu_value;      // 44
    std::uint8_t unused_46[2];       // 46
    char program[12];                // 48  current program
    little_uint16_t menu_copy;       // 60
    std::uint8_t branch;             // 62
    std::uint8_t unused_63;          // 63
};
static_assert(sizeof(UserSlot) == 64);
static_assert(offsetof(UserSlot, printer) == 18 && offsetof(UserSlot, print_flags) == 20);
static_assert(offsetof(UserSlot, terminal) == 22 && offsetof(UserSlot, report_options) == 28);
static_assert(offsetof(UserSlot, status) == 38 && offsetof(UserSlot, handover_time) == 40);
static_assert(offsetof(UserSlot, menu_value) == 44 && offsetof(UserSlot, program) == 48);
static_assert(offsetof(UserSlot, menu_copy) == 60 && offsetof(UserSlot, branch) == 62);

/// Title of customers; title code n is record n.
struct TitleRecord {
    char text[32];
};

/// Currency. The table ends at its first empty record.
struct CurrencyRecord {
    char code[3];           // 0
    std::uint8_t decimals;  // 3   0 or 2
    char name[32];          // 4
};

/// Colour name; colour number n is record n. So are the names of size systems and size kinds.
struct NameRecord {
    char text[20];
};

/// Country.
struct CountryRecord {
    little_uint16_t dialling;  // 0
    char code[3];              // 2
    char name[23];             // 5
};

/// Action with a period.
struct ActionRecord {
    little_uint16_t first_day;  // 0
    little_uint16_t last_day;   // 2
    std::uint8_t value;         // 4   what the tills are told of it
    std::uint8_t bits[59];      // 5   a bit per size or branch
};

static_assert(sizeof(TitleRecord) == region_titles.size);
static_assert(sizeof(UserSlot) == region_users.size);
static_assert(sizeof(CurrencyRecord) == region_currencies.size && offsetof(CurrencyRecord, decimals) == 3);
static_assert(sizeof(NameRecord) == region_colours.size && sizeof(NameRecord) == region_size_kinds.size);
static_assert(sizeof(CountryRecord) == region_countries.size && offsetof(CountryRecord, code) == 2);
static_assert(sizeof(ActionRecord) == region_actions.size && offsetof(ActionRecord, bits) == 5);
