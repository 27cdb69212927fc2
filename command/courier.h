// What the process of a shop and the one that started it say to each other: objects of JSON, a line each, and
// for a question one byte back.
//
//     finding, check      as in the file of --json, where the starting process puts them unchanged
//     progress, notice    what is shown to a person
//     ask                 a question; the answer is a byte: J, N, or X for cancel
//     copy                the directory of a private copy, to be removed if this process can't
//     end                 how the shop has ended
#pragma once

#include <nlohmann/json.hpp>
#include <string>

using json = nlohmann::ordered_json;

/// An object as a line. Whatever the bytes in it, the line is UTF-8.
std::string line_of(const json &object);

/// The ends of the pipes in the process of the shop.
void courier_open(int out, int in);
/// Sends an object, whole. When nobody listens any more it is lost.
void courier_send(const json &object);
/// Sends a question and waits for the answer; X when nobody answers.
char courier_ask(const json &question);
