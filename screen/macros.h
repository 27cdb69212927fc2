// The place of keyboard macros in the key reader. The table is empty until macros exist; every entry is null
// or all are set.
#pragma once

struct macro_table {
    bool (*enabled)();  ///< whether <F2> starts the macro command
    void (*enable)();
    void (*disable)();
    bool (*replaying)();        ///< a replay is going on and macros are enabled
    bool (*keys_left)();        ///< the replay list holds keys
    int (*next_key)();          ///< takes the next key off the replay list
    void (*push)(int key);      ///< puts a key on the replay list, as its next
    void (*stop)();             ///< ends the replay and empties its list
    int (*choose)();            ///< the menu: KEY_IC, KEY_DC, an activating key, or 0 for none
    void (*record)();           ///< the dialogue for recording
    void (*remove)();           ///< the dialogue for deleting
    int (*start)(int key);      ///< first key of a macro, 0 for none, -2 when that was all
    void (*session_restore)();  ///< takes up what an earlier program on this line left to replay
    void (*session_save)();     ///< keeps what is left for the next program on this line
};
extern macro_table macros;
