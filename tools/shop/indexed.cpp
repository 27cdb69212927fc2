// The indexed files: their definitions and data halves.
#include "print/macrofile.h"
#include "print/printerfile.h"
#include "tools/shop/output.h"

namespace {

constexpr const char *series_definition[] = {"series,200", "serie,NODUPS,I,1,4,I,5,6,I,7,8"};
constexpr const char *price_set_definition[] = {"prijssets,40",
                                                "prijsset,NODUPS,I,1,4,I,5,6,I,7,8,I,9,10,I,11,12"};
constexpr const char *rate_definition[] = {"valutakoersen,12", "koers,NODUPS,C,1,3,I,11,12"};
constexpr const char *size_kind_definition[] = {"maatsoorten,404", "maat,NODUPS,I,1,1,I,2,2"};
constexpr const char *size_name_definition[] = {"maatomschrijvingen,10", "maat,NODUPS,I,1,1,I,2,2,I,3,3"};
constexpr const char *group_definition[] = {"artikelgroepen,304", "groep,NODUPS,I,1,4", "naam,C,7,30"};
constexpr const char *supplier_definition[] = {"leveranciers,332", "levnr,NODUPS,I,1,2", "naam,C,3,32"};
constexpr const char *brand_definition[] = {"merken,76", "merk,NODUPS,I,1,2", "naam,C,3,32"};
constexpr const char *turnover_definition[] = {"omzetgroepen,24", "omzgrp,NODUPS,I,1,2"};
constexpr const char *staff_definition[] = {"verkopers,48", "vkpnr,NODUPS,I,1,2"};
constexpr const char *small_article_definition[] = {"kleine artikelen,60", "artnr,NODUPS,I,1,2,I,3,3"};
constexpr const char *customer_definition[] = {"klanten,312", "klantnr,NODUPS,I,1,4", "naam,C,5,34"};
constexpr const char *extension_definition[] = {"klanten extra,88", "klantnr,NODUPS,I,1,4"};
constexpr const char *transit_definition[] = {"goederen onderweg,28", "etiket,NODUPS,I,5,8,I,17,20",
                                              "filiaal,I,1,1,I,2,2"};
constexpr const char *receipt_definition[] = {"ontvangsten,20", "etiket,NODUPS,I,5,8"};
constexpr const char *criteria_definition[] = {"bestelcriteria,32", "serie,NODUPS,I,1,4,I,5,6,I,7,8"};
// A size has one code, so this key is defined without duplicates. The store enforces that for key 1 only, so
// a second code of a size can get in.
constexpr const char *ean_definition[] = {"EAN-codes,28", "ean,NODUPS,C,1,13",
                                          "maat,NODUPS,C,14,14,I,17,20,I,15,16,I,21,22,I,23,23"};
constexpr const char *barcode_definition[] = {"barcodes,32", "code,NODUPS,C,1,13",
                                              "maat,I,17,20,I,15,16,I,21,22,I,24,24"};
constexpr const char *supplier_number_definition[] = {"bestelnummers,28", "bestnr,NODUPS,C,1,13"};
constexpr const char *plu_definition[] = {"PLU,32", "code,NODUPS,C,1,13"};
constexpr const char *order_number_definition[] = {"ordernummers,48", "ordernr,NODUPS,I,1,4"};

/// A deleted record; the rebuild of the index links it to the others.
std::string dead_record(std::size_t bytes) {
    return std::string(bytes, '\xff');
}

/// The records in the order in which they were made, with the gaps that deleted ones leave.
std::string data_half(std::string_view live, std::size_t record, Random &random) {
    std::string data;
    for (std::size_t at = 0; at < live.size(); at += record) {
        while (random.chance(2)) {
            data += dead_record(record);
        }
        data += live.substr(at, record);
    }
    return data;
}

struct Gathering {
    std::list<IndexedFile> files;
    Random random;

    template <std::size_t N>
    void add_bytes(const std::string &name, const char *const (&definition)[N], std::size_t record,
                   std::string_view live) {
        files.push_back({name, {definition, definition + N}, record, live, data_half(live, record, random)});
    }
    template <typename Record, std::size_t N>
    void add(const std::string &name, const char *const (&definition)[N],
             const std::vector<Record> &records) {
        add_bytes(name, definition, sizeof(Record),
                  {reinterpret_cast<const char *>(records.data()), records.size() * sizeof(Record)});
    }
};

/// The screen, and two printers such as a shop may have.
struct Printers {
    std::vector<PrinterRecord> printers;
    std::vector<ConnectionRecord> connections;
    std::vector<PropertyRecord> properties;
    std::vector<CapabilityRecord> capabilities;
};

void add_printer(Printers &printers, int number, const char *name, const char *device, bool to_directory,
                 const char *connection) {
    PrinterRecord printer{};
    printer.printer = static_cast<std::uint16_t>(number);
    put_text(printer.name, name);
    printers.printers.push_back(printer);
    ConnectionRecord record{};
    record.printer = printer.printer;
    record.connection = 1;
    record.to_directory = to_directory ? 1 : 0;
    put_text(record.device, device);
    put_text(record.name, connection);
    printers.connections.push_back(record);
}

void add_form(Printers &printers, int number, int property, int columns, int lines, const char *description,
              const char *setup, const char *end) {
    PropertyRecord record{};
    record.printer = static_cast<std::uint16_t>(number);
    record.property = static_cast<std::uint8_t>(property);
    record.columns = static_cast<std::uint16_t>(columns);
    record.lines = static_cast<std::uint16_t>(lines);
    put_text(record.description, description);
    put_text(record.setup_text, setup);
    put_text(record.end_text, end);
    printers.properties.push_back(record);
}

const Printers &printers() {
    static const Printers all = [] {
        Printers made;
        add_printer(made, 1, "SCR", "", false, "SCR");
        add_form(made, 1, 1, 40, 9999, "SCR-40", "", "");
        add_form(made, 1, 2, 80, 64, "SCR-80", "", "");
        add_form(made, 1, 3, 132, 64, "SCR-132", "", "");
        add_printer(made, 2, "LASER", "laser1", false, "kantoor");
        add_form(made, 2, 1, 80, 66, "A4 staand", "\\1bE", "\\1bE");
        add_form(made, 2, 2, 132, 66, "A4 staand smal", "\\1bE\\1b(s16H", "\\1bE");
        add_printer(made, 3, "ARCHIEF", ".", true, "bestanden");
        add_form(made, 3, 1, 132, 64, "bestand", "", "");
        return made;
    }();
    return all;
}

const std::vector<MacroRecord> &macros() {
    static const std::vector<MacroRecord> all = [] {
        MacroRecord macro{};
        macro.key = 's';
        macro.count = 3;
        macro.keys[0] = '1';
        macro.keys[1] = '1';
        macro.keys[2] = '\n';
        put_text(macro.description, "controle series");
        return std::vector<MacroRecord>{macro};
    }();
    return all;
}

}  // namespace

std::list<IndexedFile> indexed_files(const Shop &shop) {
    Gathering gathering{{}, Random(shop.options.seed, stream_deleted)};
    gathering.add("RVSER", series_definition, shop.series);
    gathering.add("RVIPA", price_set_definition, shop.price_sets);
    gathering.add("RVKOERS", rate_definition, shop.rates);
    gathering.add("RVMAAT", size_kind_definition, shop.size_kinds);
    gathering.add("RVMTOM", size_name_definition, shop.size_names);
    gathering.add("RVART", group_definition, shop.groups);
    gathering.add("RVLEV", supplier_definition, shop.suppliers);
    gathering.add("RVMERK", brand_definition, shop.brands);
    gathering.add("RVOMZGRP", turnover_definition, shop.turnover_groups);
    gathering.add("RVVKP", staff_definition, shop.staff);
    gathering.add("RVARTREG", small_article_definition, shop.small_articles);
    gathering.add("RVKLT", customer_definition, shop.customers);
    gathering.add("RVKLTEXT", extension_definition, shop.customer_extensions);
    gathering.add("RVGO", transit_definition, shop.in_transit);
    gathering.add("RVONTV", receipt_definition, shop.receipts);
    gathering.add("RVBASER", criteria_definition, shop.criteria);
    gathering.add("RVEAN", ean_definition, shop.ean_codes);
    if (!shop.barcodes.empty()) {
        gathering.add("RVBARC", barcode_definition, shop.barcodes);
    }
    gathering.add("RVORDNR", order_number_definition, shop.order_numbers);
    for (const auto &[supplier, numbers] : shop.supplier_numbers) {
        gathering.add(text_of("XNRS%04d", supplier), supplier_number_definition, numbers);
    }
    for (const auto &[branch, codes] : shop.plu) {
        gathering.add(text_of("PLU%02d", branch), plu_definition, codes);
    }
    gathering.add("TR_PTRG", printer_definition, printers().printers);
    gathering.add("TR_PTRC", connection_definition, printers().connections);
    gathering.add("TR_PTRP", property_definition, printers().properties);
    gathering.add("TR_PTRCA", capability_definition, printers().capabilities);
    gathering.add("MACRO", macro_definition, macros());
    return std::move(gathering.files);
}
