// Printer files of a shop, made by the program itself and filled with the printers of a test.
#pragma once

#include <cstring>

#include "print/destination.h"
#include "report_fixture.h"

struct Form {
    int printer;
    int property;
    int columns;
    int lines;
    const char *description = "";
    const char *setup = "";
    const char *end = "";
};
struct Connection {
    int printer;
    int connection;
    const char *device;
    const char *name;
    bool to_directory = false;
};

struct Printers : Report {
    void SetUp() override {
        Report::SetUp();
        prt_modules.job_open = prt_job_open;
        prt_path_forget();
        unsetenv("ZUVPRT");
    }
    void TearDown() override {
        unsetenv("ZUVPRT");
        Report::TearDown();
    }

    template <std::size_t N>
    static void put_field(char (&field)[N], const char *text) {
        std::memcpy(field, text, std::min(std::strlen(text), N));
    }
    template <typename Record>
    static void add(const char *file, const Record &record) {
        ICB *icb = IXOPEN(file, ix_exclusive);
        EXPECT_TRUE(IXWRITE(icb, &record));
        IXCLOSE(icb);
    }
    static void add_printer(int number, const char *name) {
        PrinterRecord record{};
        record.printer = static_cast<std::uint16_t>(number);
        put_field(record.name, name);
        add("TR_PTRG", record);
    }
    static void add_connection(const Connection &c) {
        ConnectionRecord record{};
        record.printer = static_cast<std::uint16_t>(c.printer);
        record.connection = static_cast<std::uint8_t>(c.connection);
        record.to_directory = c.to_directory ? 1 : 0;
        put_field(record.device, c.device);
        put_field(record.name, c.name);
        add("TR_PTRC", record);
    }
    static void add_form(const Form &f) {
        PropertyRecord record{};
        record.printer = static_cast<std::uint16_t>(f.printer);
        record.property = static_cast<std::uint8_t>(f.property);
        record.orientation = static_cast<std::uint8_t>(f.property % 2);
        record.columns = static_cast<std::uint16_t>(f.columns);
        record.lines = static_cast<std::uint16_t>(f.lines);
        put_field(record.description, f.description);
        put_field(record.setup_text, f.setup);
        put_field(record.end_text, f.end);
        add("TR_PTRP", record);
    }
};
