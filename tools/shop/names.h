// The names that a shop is filled with. Texts are in code page 850.
#pragma once

#include <span>

struct ColourName {
    int number;
    const char *name;
};
struct GroupName {
    int number;
    const char *name;
    int size_kind;
    int price_low;  ///< purchase price in cents
    int price_high;
    int target;
    int vat;
    int turnover;
    const char *const *models;
};
struct SizeKindName {
    int number;
    const char *name;
    const char *codes;    ///< in sequence order, separated by blanks
    const char *english;  ///< the same sizes in the English system, or null
    bool halves_later;    ///< the half sizes came into use after the others
};
struct TownName {
    const char *town;
    int postcode;
    const char *country;
};
struct SmallArticleName {
    int number;
    const char *name;
    int turnover;
    int price;
};
struct TurnoverName {
    int number;
    const char *name;
    int vat;
};

extern const std::span<const ColourName> colour_names;
extern const std::span<const GroupName> group_names;
extern const std::span<const SizeKindName> size_kind_names;
extern const std::span<const TownName> town_names;
extern const std::span<const SmallArticleName> small_article_names;
extern const std::span<const TurnoverName> turnover_names;
extern const std::span<const char *const> brand_names;
extern const std::span<const char *const> brand_endings;
extern const std::span<const char *const> supplier_endings;
extern const std::span<const char *const> surnames;
extern const std::span<const char *const> first_names;
extern const std::span<const char *const> streets;
extern const std::span<const char *const> branch_names;
extern const std::span<const char *const> order_texts;
