// How the key reader knows keyboard macros: stored sequences of keys that are typed for the operator.
//
// <F2> and a letter or digit starts a macro, from any dialogue. Replay runs inside the key reader, so a field
// or a menu sees the keys as if they were typed. The table is empty until the layer that keeps the macros
// fills it.
#pragma once

/// Either all entries are null or all are set.
struct macro_table {
    bool (*enabled)();  ///< whether <F2> starts the macro command
    void (*enable)();
    void (*disable)();
    bool (*replaying)();        ///< a replay is going on and macros are enabled
    bool (*keys_left)();        ///< the replay list holds keys
    int (*next_key)();          ///< takes the next key off the replay list
    void (*push)(int key);      ///< puts a key first on the replay list
    void (*stop)();             ///< ends the replay and empties its list
    int (*choose)();            ///< the menu: KEY_IC, KEY_DC, an activating key, or 0 for none
    void (*record)();           ///< the dialogue for recording
    void (*remove)();           ///< the dialogue for deleting
    int (*start)(int key);      ///< first key of a macro, 0 for none, -2 when nothing follows
    void (*session_restore)();  ///< resumes what an earlier program on this line left to replay
    void (*session_save)();     ///< saves what is left for the next program on this line
};
extern macro_table macros;
