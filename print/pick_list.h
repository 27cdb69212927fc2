// Pick lists: a scrolling window over records of the caller, reached through four functions. They know
// nothing of printing.
//
//     pick_list *list = pick_new(move, input, heads, row_text);
//     list->title = " Kleuren ";
//     if (pick_run(list)) use(current record);
//     pick_free(list);
#pragma once

#include <string>

struct pick_list {
    /// Moves the caller's current record by `n`, at most to the end of the records. True when all steps were
    /// made; for 0, when there is a current record.
    bool (*move)(int n);
    /// Reads a key or a field on the last line of the window, which sets the last key of the session.
    void (*input)();
    /// Writes the column heads on the first line of the window; may be null.
    void (*heads)();
    /// The text of the current record.
    std::string (*row_text)();

    int row = 0, col = 0;       ///< place of the window on the screen, 0 for automatic
    int height = 0, width = 0;  ///< size with the frame, 0 for automatic
    std::string title;          ///< up to 80 characters
};

/// A list over records; `heads` may be null. Null when memory is short.
pick_list *pick_new(bool (*move)(int n), void (*input)(), void (*heads)(), std::string (*row_text)());
void pick_free(pick_list *list);
/// Lets the operator pick, beginning at the caller's current record. True when one was picked, which is then
/// the current record; false when there is no record, or none was picked.
bool pick_run(pick_list *list);
