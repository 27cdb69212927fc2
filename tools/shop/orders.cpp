// Goods in transit, order journals and the numbers of their orders.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <tuple>

#include "tools/shop/names.h"
#include "tools/shop/plan.h"

namespace {

constexpr int orders_per_journal = 12;
constexpr int journals_of_season = 100;  ///< in a large shop journals get longer; their number stays the same

std::int32_t next_document(Shop &shop) {
    shop.document.last_document = shop.document.last_document >= 999999 ? 1 : shop.document.last_document + 1;
    const std::string digits = text_of("2%06d", static_cast<int>(shop.document.last_document));
    return static_cast<std::int32_t>(std::strtol((digits + ean_check_digit(digits)).c_str(), nullptr, 10));
}

template <typename Payload>
void append(std::string &journal, char code, const Payload &payload) {
    journal += code;
    journal.append(reinterpret_cast<const char *>(&payload), sizeof payload);
}

void append_text(std::string &journal, int level, const char *text) {
    JournalText payload{};
    payload.level = static_cast<std::uint8_t>(level);
    put_text(payload.text, text);
    append(journal, 'T', payload);
}

/// The lines of one series: model, colour, then its sizes, some of them with a code.
void append_series(std::string &journal, const SeriesPlan &series, const OrderLine &line, bool same_model,
                   Random &random) {
    if (!same_model) {
        JournalModel model{};
        std::memcpy(model.model, series.record.model, sizeof model.model);
        put_carried(model.carried_15, random);
        model.group = series.record.key.group;
        append(journal, 'M', model);
        if (random.chance(10)) {
            append_text(journal, 3, "leest als vorig seizoen");
        }
    }
    JournalDetail detail{};
    std::memcpy(detail.description, series.record.description, sizeof detail.description);
    put_carried(detail.carried_20, random);
    detail.colour = series.record.key.colour;
    detail.number = series.record.key.number;
    put_carried(detail.carried_48, random);
    append(journal, 'D', detail);
    if (random.chance(10)) {
        append_text(journal, 4, "kleurstaal toegezonden");
    }
    int label = 0;
    for (const std::uint8_t size : series.sizes) {
        if (line.pieces[size] == 0) {
            continue;
        }
        JournalSize payload{};
        payload.size = size;
        payload.pieces = static_cast<std::uint16_t>(line.pieces[size]);
        payload.price = series.record.group_price[0];
        put_carried(payload.carried_8, random);
        append(journal, 'S', payload);
        if (random.chance(30)) {
            const std::string code = text_of("8799%08d", random.range(0, 99999999));
            char ean[journal_ean_bytes];
            put_text(ean, code + ean_check_digit(code));
            append(journal, 'E', ean);
        }
        if (random.chance(10)) {
            char number[journal_supplier_bytes];
            put_text(number, text_of("%.8s-%d", series.record.model, size));
            append(journal, 'B', number);
        }
        label += line.pieces[size];
    }
    if (label > 0 && random.chance(15)) {
        const little_uint32_t number = series.label_numbers.empty() ? 1 : series.label_numbers.front();
        append(journal, 'L', number);
        std::uint8_t branch[journal_branch_bytes];
        put_carried(branch, random);
        append(journal, 'F', branch);
    }
}

JournalOrder order_head(const ShopPlan &plan, const OrderPlan &order, const Journal &journal,
                        Random &random) {
    JournalOrder head{};
    head.journal = static_cast<std::uint16_t>(journal.number);
    put_carried(head.carried_2, random);
    head.year = static_cast<std::uint16_t>(journal.year);
    head.date = order.date;
    head.supplier =
        static_cast<std::uint16_t>(plan.suppliers[static_cast<std::size_t>(order.supplier)].number);
    put_carried(head.carried_10, random);
    head.letter = journal.letter;
    put_carried(head.carried_24, random);
    head.status = order_status_numbered;
    put_carried(head.carried_47, random);
    head.kind = static_cast<std::uint8_t>(random.chance(15) ? order_kind_own_text : random.range(0, 1));
    put_carried(head.carried_60, random);
    head.number = order.number;
    put_text(head.text, random.pick(order_texts));
    put_carried(head.carried_103, random);
    return head;
}

}  // namespace

void plan_transit(ShopPlan &plan) {
    Shop &shop = plan.shop;
    if (shop.options.branches < 2 || !shop.options.transit) {
        return;
    }
    Random random = plan.random(stream_transit);
    shop.transit.in_use = 1;
    std::map<std::pair<int, int>, std::int32_t> documents;  // from, to
    for (SeriesPlan &series : plan.series) {
        for (std::size_t i = 0; i < series.labels.size(); i++) {
            ShopLabel &label = series.labels[i];
            if (label.status != label_stock || !random.chance(3)) {
                continue;
            }
            const int to =
                (label.branch + random.range(1, shop.options.branches - 1)) % shop.options.branches;
            label.extra = to + 1;
            const std::uint32_t number = series.label_numbers[i];
            shop.label_blocks[(number - 1) / labels_per_block].slots[(number - 1) % labels_per_block].extra =
                static_cast<std::uint8_t>(label.extra);
            std::int32_t &document = documents[{label.branch, to}];
            if (document == 0 || random.chance(10)) {
                document = next_document(shop);
            }
            TransitRecord record{};
            record.from = static_cast<std::uint8_t>(label.branch);
            record.to = static_cast<std::uint8_t>(to);
            record.label = static_cast<std::int32_t>(number);
            record.key = series.record.key;
            record.document = document;
            record.kind = random.chance(30) ? 2 : 1;
            put_carried(record.carried_21, random);
            record.created = static_cast<std::uint16_t>(
                std::max<int>(label.date_moved, plan.shop.today - random.range(1, 14)));
            record.changed = record.created;
            shop.in_transit.push_back(record);
            if (record.kind == 2) {
                ReceiptRecord receipt{};
                receipt.from = record.from;
                receipt.to = record.to;
                receipt.label = record.label;
                receipt.key = record.key;
                receipt.received = record.created;
                put_carried(receipt.carried_18, random);
                shop.receipts.push_back(receipt);
            }
        }
    }
}

void plan_journals(ShopPlan &plan) {
    Random random = plan.random(stream_journals);
    Shop &shop = plan.shop;
    for (std::size_t season = 0; season < plan.seasons.size(); season++) {
        const auto in_season =
            std::count_if(plan.orders.begin(), plan.orders.end(), [&](const OrderPlan &order) {
                return order.season == static_cast<int>(season) && !order.lines.empty();
            });
        const int most = std::max(orders_per_journal, static_cast<int>(in_season) / journals_of_season);
        int in_journal = most;
        int number = 0;
        for (const OrderPlan &order : plan.orders) {
            if (order.season != static_cast<int>(season) || order.lines.empty()) {
                continue;
            }
            if (in_journal == most) {
                in_journal = 0;
                shop.journals.push_back(
                    {plan.seasons[season].year, plan.seasons[season].letter, ++number, {}});
            }
            in_journal++;
            Journal &journal = shop.journals.back();
            const JournalOrder head = order_head(plan, order, journal, random);
            append(journal.bytes, 'O', head);
            if (random.chance(20)) {
                append_text(journal.bytes, 1, "levering in overleg");
                append_text(journal.bytes, 2, "verzenden naar hoofdvestiging");
            }
            const SeriesPlan *previous = nullptr;
            for (const OrderLine &line : order.lines) {
                const SeriesPlan &series = plan.series[static_cast<std::size_t>(line.series)];
                const bool same = previous != nullptr && previous->group == series.group;
                append_series(journal.bytes, series, line, same, random);
                previous = &series;
            }
            OrderNumberRecord record{};
            record.number = order.number;
            std::memcpy(record.text, head.text, sizeof record.text);
            record.journal = head.journal;
            record.year = head.year;
            record.letter = head.letter;
            put_carried(record.carried_45, random);
            shop.order_numbers.push_back(record);
        }
    }
    std::sort(shop.order_numbers.begin(), shop.order_numbers.end(),
              [](const OrderNumberRecord &a, const OrderNumberRecord &b) { return a.number < b.number; });
}
