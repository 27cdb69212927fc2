// A question of a shop, asked on the terminal as a plain line.
#pragma once

#include <csignal>
#include <cstdio>
#include <string>

/// Where questions are asked: standard output, unless that is no terminal or objects go there; else standard
/// error. Null where neither is a terminal.
std::FILE *question_place(const std::string &json);
/// Asks until the answer is clear: J or Y, N, or a bare Enter where there is a default ("J", "N" or "").
/// X at the end of the input, or when a signal of `mask` that is let through meanwhile breaks off.
char question_ask(std::FILE *place, const std::string &shop, const std::string &text,
                  const std::string &preset, const sigset_t &mask);
