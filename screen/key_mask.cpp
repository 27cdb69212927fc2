// What a field or a wait accepts: the mask of keys, the keys that validate a field, and their names.
#include <cstdio>
#include <new>

#include "screen/screen_internal.h"

namespace {

std::uint8_t mask_bit(int key) {
    return static_cast<std::uint8_t>(1U << (static_cast<unsigned>(key) & 7U));
}

bool in_mask(int key) {
    return key >= 0 && key < 512;
}

std::size_t mask_byte(int key) {
    return static_cast<std::size_t>(key) / 8;
}

/// First slot that holds `key`, or -1.
int slot_of(int key) {
    for (int i = 0; i < key_slots; i++) {
        if (key_slot[static_cast<std::size_t>(i)] == key) {
            return i;
        }
    }
    return -1;
}

}  // namespace

void key_allow(int key) {
    if (!in_mask(key)) {
        return;
    }
    scr->scr_keys->mask[mask_byte(key)] |= mask_bit(key);
    if (key == K_CANCEL) {
        key_allow(K_ESC);
    } else if (key == K_HELP) {
        key_allow(K_F1);
    }
}

void key_deny(int key) {
    if (in_mask(key)) {
        scr->scr_keys->mask[mask_byte(key)] &= static_cast<std::uint8_t>(~mask_bit(key));
    }
}

bool key_allowed(int key) {
    return in_mask(key) && (scr->scr_keys->mask[mask_byte(key)] & mask_bit(key)) != 0;
}

bool key_is_exit(int key) {
    return key_allowed(key) && slot_of(key) >= 0;
}

void key_soft_set(int key) {
    if (const int slot = slot_of(key); slot >= 0) {
        scr->scr_keys->soft |= 1U << static_cast<unsigned>(slot);
    }
}

void key_soft_clear(int key) {
    if (const int slot = slot_of(key); slot >= 0) {
        scr->scr_keys->soft &= ~(1U << static_cast<unsigned>(slot));
    }
}

bool key_is_soft(int key) {
    const int slot = slot_of(key);
    return key_allowed(key) && slot >= 0 && (scr->scr_keys->soft >> static_cast<unsigned>(slot) & 1U) != 0;
}

key_state *key_state_new() {
    if (scr != nullptr && scr->scr_keys != nullptr) {
        return new (std::nothrow) key_state(*scr->scr_keys);
    }
    return new (std::nothrow) key_state{};
}

void key_state_restore(const key_state *saved) {
    *scr->scr_keys = *saved;
}

void key_state_free(key_state *saved) {
    delete saved;
}

void key_name(int key, char *text) {
    constexpr std::size_t room = 7;
    struct named {
        int key;
        const char *name;
    };
    static constexpr named names[] = {
        {10, "RTRN"},        {27, "ESC"},
        {9, "TAB"},          {KEY_BTAB, "SH_TAB"},
        {KEY_DC, "DEL"},     {KEY_IC, "INS"},
        {KEY_HOME, "HOME"},  {KEY_END, "END"},
        {KEY_DOWN, "DOWN"},  {KEY_UP, "UP"},
        {KEY_LEFT, "LEFT"},  {KEY_RIGHT, "RGHT"},
        {8, "BACK"},         {KEY_BACKSPACE, "BACK"},
        {KEY_NPAGE, "PGDN"}, {KEY_PPAGE, "PGUP"},
        {32, "SPACE"},
    };
    if (key == KEY_F(1) || (key >= KEY_F(3) && key <= KEY_F(12))) {
        std::snprintf(text, room, "F%-2u", static_cast<unsigned>(key - KEY_F(0)) % 100U);
        return;
    }
    for (const named &entry : names) {
        if (entry.key == key) {
            std::snprintf(text, room, "%s", entry.name);
            return;
        }
    }
    std::snprintf(text, room, "%c", key & 0xff);
}
