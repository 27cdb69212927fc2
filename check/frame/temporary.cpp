#include "check/frame/temporary.h"

#include <set>

class temporary_registry {
public:
    ~temporary_registry() {
        for (temporary *each : known) {
            each->discard();
        }
    }
    std::set<temporary *> known;
};

namespace {

temporary_registry &registry() {
    static temporary_registry all;
    return all;
}

}  // namespace

temporary::temporary() {
    registry().known.insert(this);
}

temporary::~temporary() {
    registry().known.erase(this);
}
