#include "base/operator.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "base/catalog.h"

operator_table isam_operator{};

void fatal_plain(const char *text) {
    std::printf("%s\r\n%s\r\n%s\r\n%s\r\n", term_text(1, 94, "PROGRAMMA AFGEBROKEN"), text,
                term_text(1, 95, "Neem contact op met de Support-groep"),
                term_text(1, 96, "<ENTER> voor vervolg"));
    std::fflush(stdout);
    for (int c = std::getchar(); c != '\n' && c != EOF;) {
        c = std::getchar();
    }
}

void isam_fatal(const char *format, ...) {
    char text[1024];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (isam_operator.fatal != nullptr) {
        isam_operator.fatal(text);
    }
    fatal_plain(text);
    std::exit(1);
}
