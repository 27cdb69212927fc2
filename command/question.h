// A question of a shop, asked on the terminal as a plain line.
#pragma once

#include <csignal>
#include <string>

/// Asks until the answer is clear: J or Y, N, or a bare Enter where there is a default ("J", "N" or "").
/// X at the end of the input, or when a signal of `mask` that is let through meanwhile breaks off.
char question_ask(const std::string &shop, const std::string &text, const std::string &preset,
                  const sigset_t &mask);
