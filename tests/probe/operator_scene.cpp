#include <string>

#include "probe.h"
#include "run/dialogue.h"

namespace {

void answer(bool yes) {
    scr_text(A_BOLD, 12, 1, "antwoord %s", yes ? "ja" : "nee");
    hold();
    scr_clear_eol(12, 1);
}

}  // namespace

void operator_scene(char **) {
    dialogue_install();
    const int fields = static_cast<int>(op_field::journal_series);
    for (int i = 0; i <= fields; i++) {
        const auto field = static_cast<op_field>(i);
        for (int row = 1; row <= scr->scr_lines; row++) {
            scr_text(A_DIM, row, 75, "rest");
        }
        op_caption(field, "bijschrift");
        op_value(field, "oude waarde");
        op_value(field, std::to_string(i).c_str());
        hold();
        op_clear(field);
        hold();
        scr_clear_eos(1, 1);
    }
    scr_text(A_DIM, 2, 1, "onder de vensters");
    for (int i = 0; i <= static_cast<int>(op_notice::bad_marks); i++) {
        op_tell(static_cast<op_notice>(i), {"regel 1", "regel 2", "regel 3", "regel 4"});
        hold();
    }
    for (int i = 0; i <= static_cast<int>(op_question::assign_codes); i++) {
        answer(op_ask(static_cast<op_question>(i), "Vraag", {"regel 1"}));
    }
}
