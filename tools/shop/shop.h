// Made shops: a complete data directory for demonstrations, tests and benchmarks.
//
// `build_shop` makes a shop in memory, as the records of its files, which all agree with one another;
// `write_shop` writes the files to a directory. Between the two a test may change anything; faults can also
// be named in the options. The same options give the same bytes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/dates.h"
#include "data/branchfile.h"
#include "data/criteriafile.h"
#include "data/customerfile.h"
#include "data/eanfile.h"
#include "data/journalfile.h"
#include "data/labelparts.h"
#include "data/masterfile.h"
#include "data/pricefile.h"
#include "data/seriesfile.h"
#include "data/sizefile.h"
#include "data/sysfile.h"
#include "data/transitfile.h"

struct ShopOptions {
    int series = 120;          ///< 0 to 200000
    int labels = 10;           ///< average number of labels in a series, 0 to 1000
    int branches = 3;          ///< 1 to 60
    int customers = -1;        ///< 0: none are kept; -1: two for every three series; at most 300000
    int tills = 2;             ///< tills in a branch, 0 to 9
    int label_digits = 7;      ///< 6, 7 or 8
    int checked = -1;          ///< days since all checks passed, -1: never checked
    bool linked = true;        ///< sold labels are linked to customers
    bool transit = true;       ///< branches send goods to one another (if there are two or more)
    bool no_decimals = false;  ///< the home currency has no decimals
    day_number today = 0;      ///< the latest day in the data, 1990 to 2040; 0: by the clock
    std::uint64_t seed = 1;
    std::vector<std::string> faults = {};  ///< names of `shop_faults`
};

/// A file of coded records of a season.
struct Journal {
    int year;
    char letter;
    int number;
    std::string bytes;
};

/// Damage to the halves of an indexed file, done once it is written.
enum class index_damage {
    cut,          ///< the index half ends early
    in_update,    ///< an update was left half done
    stale_locks,  ///< keys of a process that is gone stand in the lock block
    swapped,      ///< two records were swapped without the index
    missing,      ///< the index half is gone
};

/// A till and its branch (counted from 0).
struct Till {
    int branch;
    int number;
};

struct Random;

/// The model: the records of the files as they go to disk. Only names that are stored scrambled are in plain
/// text here.
struct Shop {
    ShopOptions options;
    day_number today;

    // RVSYS.TXT
    SysRow1 settings{};
    SysRow4Chain label_chain{};
    SysRow5 serial{};
    SysRow8 limits{};
    SysRow4Chain price_chain{};
    SysRow10 status{};
    SysRow4Chain criteria_chain{};
    SysRow14 ean_generator{};
    SysRow15 country{};
    SysRow18 document{};
    SysRow19 dates{};
    SysRow20 transit{};
    std::vector<TitleRecord> titles;
    std::vector<UserSlot> users;  ///< names in plain text
    std::vector<CurrencyRecord> currencies;
    std::vector<NameRecord> colours;  ///< by number, colour 1 first
    std::vector<NameRecord> size_systems;
    std::vector<NameRecord> size_kind_names;
    std::vector<CountryRecord> countries;
    std::vector<ActionRecord> actions;

    // RVFILGEG.TXT; names in plain text
    std::vector<BranchRecord> branches;  ///< the head office first
    std::vector<Till> tills;
    TillSettings till_settings{};
    std::vector<std::string> till_changes;  ///< lines of KASMUT.TXT

    std::vector<SizeKindRecord> size_kinds;
    std::vector<SizeNameRecord> size_names;
    std::vector<ArticleGroupRecord> groups;
    std::vector<SupplierRecord> suppliers;
    std::vector<BrandRecord> brands;
    std::vector<TurnoverGroupRecord> turnover_groups;
    std::vector<StaffRecord> staff;
    std::vector<SmallArticleRecord> small_articles;
    std::vector<RateRecord> rates;

    std::vector<SeriesRecord> series;
    std::vector<LabelBlock> label_blocks;
    std::vector<PriceSetRecord> price_sets;
    std::vector<PriceBlock> price_blocks;
    std::vector<CriteriaRecord> criteria;
    std::vector<CriteriaBlock> criteria_blocks;

    std::vector<CustomerRecord> customers;
    std::vector<CustomerExtension> customer_extensions;
    std::vector<TransitRecord> in_transit;
    std::vector<ReceiptRecord> receipts;

    std::vector<EanRecord> ean_codes;
    std::vector<BarcodeRecord> barcodes;
    std::map<int, std::vector<SupplierNumberRecord>> supplier_numbers;  ///< by supplier
    std::map<int, std::vector<PluRecord>> plu;                          ///< by branch
    std::vector<OrderNumberRecord> order_numbers;
    std::vector<Journal> journals;

    std::map<std::string, std::string> tails;  ///< bytes after the last record, by name of a plain file
    std::vector<std::pair<std::string, index_damage>> index_damages;  ///< by name of an indexed file
};

/// A label taken apart.
using ShopLabel = LabelParts;

/// True when the options are within their ranges and every fault is known; otherwise `why` says what is
/// wrong.
bool shop_options_valid(const ShopOptions &options, std::string &why);

/// Makes the shop. The options must be valid. False when they can't be met (too many labels for the digits of
/// their numbers, a fault that finds nothing to spoil or would undo another); `why` says so.
bool build_shop(const ShopOptions &options, Shop &shop, std::string &why);

/// What `write_shop` does with a directory that is not empty.
enum class shop_target {
    made,  ///< only a directory made by it is accepted; its old files are removed first
    any,   ///< any directory; files of the same name are replaced
};

/// Writes all files of the shop into `directory`, which is made when it does not exist. False on the first
/// failure; `why` names the file and the reason.
bool write_shop(const Shop &shop, const std::string &directory, shop_target target, std::string &why);

/// Both at once, for tests. Returns an empty text, or what went wrong.
std::string make_shop(const ShopOptions &options, const std::string &directory);

/// A way to spoil a shop.
struct ShopFault {
    const char *name;
    const char *what;  ///< one line for the help text
    /// Spoils the model; false when the shop has nothing that can be spoiled this way.
    bool (*apply)(Shop &shop, Random &random);
};
const std::vector<ShopFault> &shop_faults();

/// Spoils a shop with the fault of that name; may be repeated. False when there is nothing to spoil, or no
/// such fault.
bool spoil_shop(Shop &shop, const std::string &name, std::uint64_t seed);
