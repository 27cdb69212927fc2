// Faults in the reference files, and in what series refer to.
#include "tools/shop/faults.h"

namespace {

constexpr std::uint16_t session_ahead = 900;

template <typename Record, typename Change>
bool spoil_any(std::vector<Record> &records, Random &random, Change change) {
    return spoil(records, random, any<Record>, change);
}

/// Adds a copy of a record with another number.
template <typename Record>
bool add_with_number(std::vector<Record> &records, std::uint16_t number) {
    if (records.empty()) {
        return false;
    }
    records.push_back(records.front());
    records.back().number = number;
    return true;
}

bool spoil_action(Shop &shop, void (*change)(SavingAction &)) {
    shop.settings.mode |= mode_saving;
    change(shop.till_settings.actions[0]);
    return true;
}

constexpr ShopFault master[] = {
    {"group-no-name", "an article group has no description",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.groups, random,
                          [](ArticleGroupRecord &group) { put_text(group.description, ""); });
     }},
    {"group-no-turnover", "an article group has no turnover group",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.groups, random, [](ArticleGroupRecord &group) { group.turnover = 0; });
     }},
    {"group-turnover-unknown", "an article group has a turnover group that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.groups, random, [](ArticleGroupRecord &group) { group.turnover = 9990; });
     }},
    {"group-vat", "an article group has another VAT code than its turnover group",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.groups, random, [](ArticleGroupRecord &group) { group.vat = 1; });
     }},
    {"group-session", "an article group has a session number that was never given out",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.groups, random,
                          [](ArticleGroupRecord &group) { group.changed = session_ahead; });
     }},
    {"group-invalid", "an article group has number 0",
     [](Shop &shop, Random &) { return add_with_number(shop.groups, 0); }},
    {"group-missing", "an article group with series does not exist",
     [](Shop &shop, Random &random) {
         if (shop.series.empty()) {
             return false;
         }
         const std::uint32_t number = random.pick(shop.series).key.group;
         return std::erase_if(shop.groups,
                              [&](const ArticleGroupRecord &group) { return group.number == number; }) > 0;
     }},
    {"supplier-no-name", "a supplier has no name",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.suppliers, random,
                          [](SupplierRecord &supplier) { put_text(supplier.name, ""); });
     }},
    {"supplier-no-currency", "a supplier has no currency",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.suppliers, random,
                          [](SupplierRecord &supplier) { put_text(supplier.currency, ""); });
     }},
    {"supplier-size-system", "a supplier has a size system that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.suppliers, random,
                          [](SupplierRecord &supplier) { supplier.size_system = 88; });
     }},
    {"supplier-session", "a supplier has a session number that was never given out",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.suppliers, random,
                          [](SupplierRecord &supplier) { supplier.session = session_ahead; });
     }},
    {"supplier-invalid", "a supplier has a number of five digits",
     [](Shop &shop, Random &) { return add_with_number(shop.suppliers, 10001); }},
    {"brand-no-name", "a brand has no name",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.brands, random, [](BrandRecord &brand) { put_text(brand.name, ""); });
     }},
    {"brand-size-system", "a brand has a size system that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.brands, random, [](BrandRecord &brand) { brand.size_system = 99; });
     }},
    {"brand-session", "a brand has a session number that was never given out",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.brands, random, [](BrandRecord &brand) { brand.changed = session_ahead; });
     }},
    {"brand-invalid", "a brand has number 0",
     [](Shop &shop, Random &) { return add_with_number(shop.brands, 0); }},
    {"sizekind-session", "a size kind has a session number that was never given out",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.size_kinds, random,
                          [](SizeKindRecord &kind) { kind.session = session_ahead; });
     }},
    {"sizekind-no-code", "a size of a size kind has no code",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.size_kinds, random,
                          [](SizeKindRecord &kind) { put_text(kind.entries[1].code, ""); });
     }},
    {"branch-no-name", "a branch has no name",
     [](Shop &shop, Random &random) {
         BranchRecord &branch = shop.branches[1 + random.below(shop.branches.size() - 1)];
         put_text(branch.name, "");
         return true;
     }},
    {"company-no-name", "the company has no name",
     [](Shop &shop, Random &) {
         put_text(shop.settings.company, "");
         return true;
     }},
    {"turnover-no-name", "a turnover group has no description",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.turnover_groups, random,
                          [](TurnoverGroupRecord &group) { put_text(group.description, ""); });
     }},
    {"turnover-invalid", "a turnover group has number 0",
     [](Shop &shop, Random &) { return add_with_number(shop.turnover_groups, 0); }},
    {"staff-no-name", "a member of the sales staff has no name",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.staff, random, [](StaffRecord &staff) { put_text(staff.name, ""); });
     }},
    {"staff-invalid", "a member of the sales staff has number 1000",
     [](Shop &shop, Random &) { return add_with_number(shop.staff, 1000); }},
    {"small-no-name", "a small article has no description",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.small_articles, random,
             [](const SmallArticleRecord &article) { return article.branch == 0; },
             [](SmallArticleRecord &article) { put_text(article.description, ""); });
     }},
    {"small-turnover-unknown", "a small article has a turnover group that does not exist",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.small_articles, random,
             [](const SmallArticleRecord &article) { return article.branch == 0; },
             [](SmallArticleRecord &article) { article.turnover = 9991; });
     }},
    {"small-invalid", "a small article has number 0",
     [](Shop &shop, Random &) { return add_with_number(shop.small_articles, 0); }},
    {"saving-no-name", "a saving action has no description",
     [](Shop &shop, Random &) {
         return spoil_action(shop, [](SavingAction &action) { put_text(action.description, ""); });
     }},
    {"saving-no-period", "a saving action has no end",
     [](Shop &shop, Random &) {
         return spoil_action(shop, [](SavingAction &action) { action.end_date = 0; });
     }},
    {"master-colour-missing", "the colour of a series is not in the colour table",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [&](const SeriesRecord &series) {
             put_text(shop.colours[static_cast<std::size_t>(series.key.colour - 1)].text, "");
         });
     }},
    {"master-kind-missing", "the size kind of a series is not in the list of size kinds",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [&](const SeriesRecord &series) {
             put_text(shop.size_kind_names[series.size_kind - 1U].text, "");
         });
     }},
    {"master-brand-unknown", "a series has a brand that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.brand = 9998; });
     }},
    {"master-supplier-unknown", "a series prefers a supplier that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.supplier = 9998; });
     }},
    {"master-season-letter", "a series has no season letter",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.season_letter = ' '; });
     }},
    {"master-season-number", "a series has an impossible season number",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.season_number = 12; });
     }},
    {"master-no-model", "a series has an empty model code",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { put_text(series.model, ""); });
     }},
    {"master-no-letter", "the letter of a series is a zero byte",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.letter = '\0'; });
     }},
    {"master-no-target", "a series has no label kind",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [](SeriesRecord &series) { series.target_group = 0; });
     }},
    {"master-no-target-at-all", "neither a series nor its article group has a label kind",
     [](Shop &shop, Random &random) {
         return spoil_any(shop.series, random, [&](SeriesRecord &series) {
             series.target_group = 0;
             for (ArticleGroupRecord &group : shop.groups) {
                 if (group.number == series.key.group) {
                     group.label_kind = 0;
                 }
             }
         });
     }},
};

}  // namespace

const std::span<const ShopFault> master_faults = master;
