// Keyboard macros: the macro file, the replay and the recording. They reach the key reader through the table
// `macros`.
#pragma once

#include "print/macrofile.h"
#include "screen/macros.h"
#include "screen/screen.h"
#include "store/store.h"

/// Fills the table, except the entries for the menu and for deleting macros.
void mac_connect();

/// The user number that is part of a macro's key.
inline constexpr std::uint16_t mac_user = 0;

/// Switch macros on and off. They are off at first, and while one of their own dialogues is open.
void mac_enable();
void mac_disable();
/// True when a replay is going on and macros are on.
bool mac_active();
/// Ends a replay.
void mac_stop();

/// Path of `name` in the directory named by the environment variable MACRO, else in the current one. Valid
/// until the next call, or until macros are switched on or off.
const char *mac_file_path(const char *name);
/// Opens the macro file, shared; it is first made or mended if need be. Null when it can't be used.
ICB *mac_open();
/// True for a letter or digit of one byte; and the key under which `key` is stored.
bool mac_is_activating(int key);
int mac_stored_key(int key);

/// Starts the replay of the macro of `key`, or offers to record it when there is none. Returns its first key,
/// 0 when none was started, -2 when nothing follows (the operator declined, or the macro is damaged).
int mac_start(int key);
/// The dialogue for recording; with key 0 it asks for the activating key.
void mac_record(int key);
/// A question box with the text that asks whether to add a macro.
[[gnu::format(printf, 1, 2)]] bool mac_ask(const char *format, ...);

/// Write and read what is left of a replay, in a file for this terminal line.
void mac_save();
void mac_restore();

/// Keeps the state of the dialogue below: its key state and the status of its field.
class mac_dialogue {
public:
    mac_dialogue()
        : keys_(*scr->scr_keys), field_(scr->field), status_(scr->ing_status), exit_(scr->ing_exit) {
        *scr->scr_keys = key_state{};
    }
    ~mac_dialogue() {
        *scr->scr_keys = keys_;
        scr->field = field_;
        scr->ing_status = status_;
        scr->ing_exit = exit_;
    }
    mac_dialogue(const mac_dialogue &) = delete;
    mac_dialogue &operator=(const mac_dialogue &) = delete;

private:
    key_state keys_;
    field_description field_;
    int status_;
    int exit_;
};
