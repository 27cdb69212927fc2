// The dialogues of keyboard macros that are menus and lists.
#pragma once

/// The macro menu. Returns KEY_IC to record, KEY_DC to delete, the activating key of a macro, or 0.
int mac_menu();
/// The list from which a macro is picked. Returns its activating key, or 0.
int mac_pick();
/// The dialogue for deleting macros.
void mac_delete();
/// Gives macros to the key reader; they are off until they are enabled.
void mac_install();
