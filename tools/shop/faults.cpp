// The list of all faults.
#include "tools/shop/faults.h"

const std::vector<ShopFault> &shop_faults() {
    static const std::vector<ShopFault> all = [] {
        std::vector<ShopFault> faults;
        for (const std::span<const ShopFault> part :
             {label_faults, series_faults, price_faults, size_faults, criteria_faults, customer_faults,
              master_faults, code_faults, journal_faults, index_faults}) {
            faults.insert(faults.end(), part.begin(), part.end());
        }
        return faults;
    }();
    return all;
}
