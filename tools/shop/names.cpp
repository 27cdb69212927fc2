#include "tools/shop/names.h"

// Code page 850: \x82 e acute, \x89 e diaeresis, \x8a e grave, \x8b i diaeresis, \x94 o diaeresis,
// \x81 u diaeresis, \x87 c cedilla.

namespace {

constexpr ColourName colours[] = {
    {1, "wit"},
    {2, "gebroken wit"},
    {3, "ecru"},
    {5, "ivoor"},
    {10, "zwart"},
    {11, "antraciet"},
    {12, "grijs"},
    {13, "lichtgrijs"},
    {14, "zilver"},
    {20, "bruin"},
    {21, "donkerbruin"},
    {22, "cognac"},
    {23, "camel"},
    {24, "taupe"},
    {25, "beige"},
    {26, "zand"},
    {27, "tabak"},
    {30, "rood"},
    {31, "bordeaux"},
    {32, "koraal"},
    {33, "steenrood"},
    {40, "roze"},
    {41, "fuchsia"},
    {42, "oudroze"},
    {50, "oranje"},
    {51, "terra"},
    {60, "geel"},
    {61, "oker"},
    {62, "goud"},
    {70, "groen"},
    {71, "olijf"},
    {72, "mint"},
    {73, "flessegroen"},
    {74, "khaki"},
    {80, "blauw"},
    {81, "marine"},
    {82, "kobalt"},
    {83, "jeansblauw"},
    {84, "lichtblauw"},
    {85, "petrol"},
    {86, "turkoois"},
    {90, "paars"},
    {91, "lila"},
    {92, "aubergine"},
    {101, "zwart lak"},
    {102,
     "zwart su\x8a"
     "de"},
    {103,
     "cognac su\x8a"
     "de"},
    {110, "zwart-wit"},
    {120, "panterprint"},
    {121, "slangeprint"},
    {130, "ruit rood"},
    {131, "ruit blauw"},
    {140, "multicolor"},
    {150, "denim"},
    {999, "diversen"},
};

constexpr const char *pumps[] = {"pump", "sleehak", "slingback", "peeptoe", "bandpump", nullptr};
constexpr const char *shoes[] = {"veterschoen", "instapper", "moccasin", "gesp", "brogue", nullptr};
constexpr const char *boots[] = {"laars", "enkellaars", "chelsea", "rijlaars", "bikerboot", nullptr};
constexpr const char *sandals[] = {"sandaal", "muiltje", "teenslipper", "espadrille", nullptr};
constexpr const char *sneakers[] = {"sneaker", "runner", "canvas laag", "canvas hoog", nullptr};
constexpr const char *slippers[] = {"pantoffel", "huismuil", "slof", nullptr};
constexpr const char *dresses[] = {"jurk", "tuniek", "overgooier", "cocktailjurk", nullptr};
constexpr const char *skirts[] = {"rok kort", "kokerrok", "plooirok", "rok lang", nullptr};
constexpr const char *blouses[] = {"blouse", "top", "shirt k.m.", "shirt l.m.", "hemd", nullptr};
constexpr const char *knitwear[] = {"vest", "trui", "col", "spencer", "pullover V", nullptr};
constexpr const char *trousers[] = {"pantalon", "chino", "capri", "legging", nullptr};
constexpr const char *jeans[] = {"jeans straight", "jeans slim", "jeans boot", nullptr};
constexpr const char *coats[] = {"jas kort", "mantel", "parka", "trenchcoat", "bodywarmer", nullptr};
constexpr const char *suits[] = {"colbert", "kostuum", "gilet", "blazer", nullptr};
constexpr const char *belts[] = {"riem leer", "riem gevlochten", "ceintuur", nullptr};
constexpr const char *bags[] = {"schoudertas", "shopper", "clutch", "rugtas", "portemonnee", nullptr};
constexpr const char *scarves[] = {"sjaal", "muts", "handschoen", "baret", nullptr};
constexpr const char *hosiery[] = {"sok 2-pack", "kniekous", "panty 40 den", "maillot", nullptr};

constexpr GroupName groups[] = {
    {101, "Dames pumps", 1, 2895, 6495, 1, 2, 10, pumps},
    {102, "Dames veterschoenen", 1, 3195, 6995, 1, 2, 10, shoes},
    {103, "Dames laarzen", 1, 4495, 10995, 1, 2, 10, boots},
    {104, "Dames sandalen", 1, 1895, 5495, 1, 2, 10, sandals},
    {105, "Dames sneakers", 1, 2495, 5995, 1, 2, 10, sneakers},
    {106, "Dames pantoffels", 1, 895, 2295, 1, 2, 10, slippers},
    {151, "Heren molieres", 2, 3495, 8995, 2, 2, 11, shoes},
    {152, "Heren boots", 2, 3995, 9995, 2, 2, 11, boots},
    {153, "Heren sneakers", 2, 2995, 6995, 2, 2, 11, sneakers},
    {154, "Heren sandalen", 2, 1995, 4995, 2, 2, 11, sandals},
    {155, "Heren pantoffels", 2, 995, 2495, 2, 2, 11, slippers},
    {181, "Meisjesschoenen", 3, 1695, 3995, 3, 2, 12, shoes},
    {182, "Jongensschoenen", 3, 1695, 3995, 3, 2, 12, shoes},
    {183, "Kinderlaarzen", 3, 1995, 4995, 3, 2, 12, boots},
    {184, "Kindersneakers", 3, 1295, 3295, 3, 2, 12, sneakers},
    {301, "Dames jurken", 4, 1995, 6995, 4, 2, 20, dresses},
    {302, "Dames rokken", 4, 1295, 3995, 4, 2, 20, skirts},
    {303, "Dames blouses", 4, 995, 3495, 4, 2, 20, blouses},
    {304, "Dames tricot", 6, 1295, 4495, 4, 2, 20, knitwear},
    {305, "Dames pantalons", 4, 1495, 4495, 4, 2, 20, trousers},
    {306, "Dames jeans", 7, 1995, 4995, 4, 2, 20, jeans},
    {307, "Dames jassen", 4, 3995, 12995, 4, 2, 20, coats},
    {351, "Heren kostuums", 5, 6995, 19995, 5, 2, 21, suits},
    {352, "Heren overhemden", 8, 1295, 3995, 5, 2, 21, blouses},
    {353, "Heren tricot", 6, 1495, 4995, 5, 2, 21, knitwear},
    {354, "Heren pantalons", 5, 1995, 5495, 5, 2, 21, trousers},
    {355, "Heren jeans", 7, 1995, 5495, 5, 2, 21, jeans},
    {356, "Heren jassen", 5, 4495, 14995, 5, 2, 21, coats},
    {501, "Riemen", 9, 595, 2495, 6, 2, 30, belts},
    {502, "Tassen en lederwaren", 10, 995, 7995, 6, 2, 30, bags},
    {503, "Sjaals en mutsen", 10, 395, 2495, 6, 2, 30, scarves},
    {504, "Kousen en sokken", 11, 195, 895, 6, 2, 31, hosiery},
};

constexpr SizeKindName kinds[] = {
    {1, "damesschoenen", "34 35 35+ 36 36+ 37 37+ 38 38+ 39 39+ 40 40+ 41 42 43",
     "1 2 2H 3 3H 4 4H 5 5H 6 6H 6X 7 7H 8 9", true},
    {2, "herenschoenen", "39 40 40+ 41 41+ 42 42+ 43 43+ 44 44+ 45 46 47 48 49",
     "5H 6 6H 7 7H 8 8H 9 9H 10 10H 11 12 12H 13 14", true},
    {3, "kinderschoenen", "18 19 20 21 22 23 24 25 26 27 28 29 30 31 32 33 34 35 36 37 38 39",
     "2 3 4 4H 5 6 7 8 8H 9 10 11 12 12H 13 1 2K 2H 3K 4K 5K 6K", false},
    {4, "confectie dames", "34 36 38 40 42 44 46 48 50 52", "8 10 12 14 16 18 20 22 24 26", false},
    {5, "confectie heren", "44 46 48 50 52 54 56 58 60 94 98 102 106 24 25 26 27", nullptr, false},
    {6, "lettermaten", "XXS XS S M L XL XXL 3XL 4XL", nullptr, false},
    {7, "jeansmaten", "25 26 27 28 29 30 31 32 33 34 36 38 40", nullptr, false},
    {8, "boordmaten", "37 38 39 40 41 42 43 44 45 46", nullptr, false},
    {9, "riemen", "75 80 85 90 95 100 105 110 115 120", nullptr, false},
    {10, "\x82\x82nmaat", "UNI", nullptr, false},
    {11, "sokken", "23 27 31 35 39 43 47", nullptr, false},
};

constexpr TownName towns[] = {
    {"Zutphen", 7201, "NLD"},     {"Deventer", 7411, "NLD"},  {"Zwolle", 8011, "NLD"},
    {"Arnhem", 6811, "NLD"},      {"Nijmegen", 6511, "NLD"},  {"Utrecht", 3511, "NLD"},
    {"Gouda", 2801, "NLD"},       {"Leiden", 2311, "NLD"},    {"Haarlem", 2011, "NLD"},
    {"Alkmaar", 1811, "NLD"},     {"Hoorn", 1621, "NLD"},     {"Assen", 9401, "NLD"},
    {"Groningen", 9711, "NLD"},   {"Sneek", 8601, "NLD"},     {"Leeuwarden", 8911, "NLD"},
    {"Breda", 4811, "NLD"},       {"Tilburg", 5011, "NLD"},   {"Eindhoven", 5611, "NLD"},
    {"Venlo", 5911, "NLD"},       {"Roermond", 6041, "NLD"},  {"Goes", 4461, "NLD"},
    {"Be\x89k", 6573, "NLD"},     {"Apeldoorn", 7311, "NLD"}, {"Doetinchem", 7001, "NLD"},
    {"Antwerpen", 2000, "BEL"},   {"Gent", 9000, "BEL"},      {"Hasselt", 3500, "BEL"},
    {"M\x81nster", 48143, "DEU"}, {"Kleve", 47533, "DEU"},
};

constexpr SmallArticleName small_articles[] = {
    {1, "schoencr\x8ame", 40, 495},
    {2, "inlegzolen", 40, 795},
    {3, "veters 60 cm", 40, 250},
    {4, "veters 90 cm", 40, 295},
    {5,
     "su\x8a"
     "deborstel",
     40, 595},
    {6, "waterdicht spr", 40, 895},
    {7, "schoenlepel", 40, 350},
    {8, "spanners hout", 40, 1495},
    {9, "hakbandjes", 40, 395},
    {10, "draagtas groot", 41, 25},
    {11, "draagtas klein", 41, 15},
    {12, "cadeaubon", 42, 1000},
    {13, "kledinghanger", 41, 100},
    {14, "naaigaren", 41, 195},
    {15, "vermaken zoom", 43, 1250},
    {16, "vermaken taille", 43, 1750},
    {17, "reparatie hak", 43, 950},
    {18, "stomen jas", 43, 1495},
    {19, "kledingborstel", 41, 695},
    {20, "boord verstev.", 41, 225},
};

constexpr TurnoverName turnover[] = {
    {10, "damesschoenen", 2}, {11, "herenschoenen", 2}, {12, "kinderschoenen", 2}, {20, "damesmode", 2},
    {21, "herenmode", 2},     {30, "accessoires", 2},   {31, "beenmode", 2},       {40, "onderhoud", 2},
    {41, "diversen", 2},      {42, "bonnen", 3},        {43, "reparaties", 1},
};

constexpr const char *brands[] = {
    "Van Oorschot", "Lindehof",    "Bergkamp",  "Noorderzon", "Zilverberk", "Marken",        "Tessel",
    "Roosendael",   "De Wolff",    "Kiekebos",  "Vlindertje", "Hogeveen",   "Elzas",         "Castello",
    "Montebello",   "Pasqualino",  "Ferrante",  "Calzavera",  "Duero",      "Almeida",       "Lagoa",
    "Nordlys",      "Skagerrak",   "Fjordland", "Harrowgate", "Wexcombe",   "Ashbury",       "Kendalow",
    "Steinhof",     "Waldmeister", "Oberland",  "Ch\x82rine", "Belle Rive", "Maison Du Lac",
};
constexpr const char *brand_ends[] = {"",         " Woman", " Men",     " Kids",
                                      " Comfort", " Sport", " Classic", " Young"};
constexpr const char *supplier_ends[] = {" BV",           " Agenturen", " Import BV",
                                         " Nederland BV", " Mode",      " GmbH"};
constexpr const char *last_names[] = {
    "Jansen",  "de Vries",       "van den Berg", "Bakker",     "Visser",    "Smit",     "Meijer",
    "de Boer", "Mulder",         "de Groot",     "Bos",        "Vos",       "Peters",   "Hendriks",
    "Dekker",  "Brouwer",        "de Wit",       "Dijkstra",   "Smits",     "de Graaf", "van der Meer",
    "Kok",     "Jacobs",         "Vermeulen",    "van Dam",    "Schouten",  "Willems",  "Hoekstra",
    "Koster",  "Prins",          "Blom",         "Huisman",    "Peeters",   "Kuipers",  "Veenstra",
    "Kramer",  "Ren\211e-Bloem", "Gro\x89n",     "van 't Hof", "M\x94ller",
};
constexpr const char *given_names[] = {
    "Anna",    "Maria", "Els",  "Ingrid", "Marloes", "Sanne",  "Femke", "Jolanda", "Wil",  "Truus",
    "Ren\x82", "Jan",   "Piet", "Kees",   "Henk",    "Wouter", "Thijs", "Joris",   "Ruud", "Zo\x89",
};
constexpr const char *street_names[] = {
    "Dorpsstraat",  "Kerkstraat", "Hoofdstraat", "Stationsweg",   "Molenweg",
    "Schoolstraat", "Lindelaan",  "Beukenlaan",  "Julianastraat", "Wilhelminaplein",
    "Havenkade",    "Marktveld",  "Oude Gracht", "Eikenhof",
};
constexpr const char *shop_names[] = {
    "Centrum",   "Marktplein", "Winkelhof",  "Stationspassage", "Zuid",        "Noord",
    "De Brink",  "Overhoeks",  "Houtplein",  "Kerkstraat",      "Langestraat", "Outlet",
    "Sporthuis", "Kinderhuis", "De Passage", "Havenzicht",
};
constexpr const char *orders[] = {
    "vooraankoop",
    "nabestelling",
    "beurs",
    "levering in twee keer",
    "actie moederdag",
    "spoed",
    "met vertegenwoordiger",
    "",
    "",
};

}  // namespace

const std::span<const ColourName> colour_names = colours;
const std::span<const GroupName> group_names = groups;
const std::span<const SizeKindName> size_kind_names = kinds;
const std::span<const TownName> town_names = towns;
const std::span<const SmallArticleName> small_article_names = small_articles;
const std::span<const TurnoverName> turnover_names = turnover;
const std::span<const char *const> brand_names = brands;
const std::span<const char *const> brand_endings = brand_ends;
const std::span<const char *const> supplier_endings = supplier_ends;
const std::span<const char *const> surnames = last_names;
const std::span<const char *const> first_names = given_names;
const std::span<const char *const> streets = street_names;
const std::span<const char *const> branch_names = shop_names;
const std::span<const char *const> order_texts = orders;
