// What a check has found: counted by kind, and sent on as it is made.
//
// A check looks more than once: after a repair the frame lets it look again, and what is put right at once
// shows only in the next look. A finding that is made again is the same finding; what the last look still
// makes is left.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>

#include "check/frame/findings.h"

struct finding_counts {
    long found = 0;
    long mended = 0;
    long left = 0;

    finding_counts &operator+=(const finding_counts &other) {
        found += other.found;
        mended += other.mended;
        left += other.left;
        return *this;
    }
};

/// The findings of one check. A check may have parts that look for themselves: that of the prices goes on
/// with the prices of the labels.
class check_record {
public:
    check_record() = default;
    check_record(const check_record &) = delete;
    check_record &operator=(const check_record &) = delete;

    /// A look begins; `part` names who looks.
    void begin_look(const std::string &part);
    /// Notes a finding; false when an earlier look has made it.
    bool add(const finding &found);
    /// The operator has agreed to a repair.
    void agreed();
    /// True when this look has made what the one before it made, so the repair has not helped, or when there
    /// have been so many looks that something else must be wrong.
    [[nodiscard]] bool repair_is_vain() const;
    /// True when another look would tell more: something was put right since the last one began. Of what is
    /// asked about, some may have been put right at once; a person is not asked again just to see that.
    [[nodiscard]] bool needs_another_look(bool unattended) const;
    /// A number that differs when what the last looks have made differs.
    [[nodiscard]] std::uint64_t state() const;
    /// By code. Of a check that was cancelled nobody knows what its last look would have made.
    [[nodiscard]] std::map<std::string, finding_counts> counts(bool cancelled) const;

private:
    struct tally {
        std::string code;
        bool mends = false;  ///< put right at once
        long most = 0;       ///< in one look
        long now = 0;        ///< in the last look that made it
        int look = 0;        ///< that look
        int first = 0;       ///< the first that made it
    };
    struct part_record {
        std::unordered_map<std::string, tally> tallies;
        int look = 0;
        std::uint64_t sum = 0;         ///< of what this look has made
        std::uint64_t sum_before = 0;  ///< of what the look before it made
        bool mends = false;            ///< this look has made what is put right at once
        bool asks = false;             ///< and what is asked about
        bool agreed = false;
    };

    std::map<std::string, part_record> parts;
    part_record *part = &parts[""];
};
