// From print set-up and printer files to the destination of a job.
#include <sys/stat.h>

#include "printer_fixture.h"
#include "support/terminal.h"

namespace {

namespace fs = std::filesystem;

/// Seven printers beside the screen.
struct Destination : Printers {
    void SetUp() override {
        Printers::SetUp();
        ASSERT_TRUE(prt_tables_ready());
        fs::create_directory("uit");
        const std::pair<int, const char *> names[] = {{2, "LASER"}, {3, "MAGAZIJN"}, {4, "BON"}, {5, "BREED"},
                                                      {6, "AUX"},   {7, "TTY"},      {8, "MAP"}};
        for (const auto &[number, name] : names) {
            add_printer(number, name);
        }
        for (const Connection &one : {Connection{1, 1, "uit", "SCR", true},  // which the screen ignores
                                      {2, 1, "laser1  ", "kantoor"},
                                      {3, 1, "links", "hal"},
                                      {3, 4, "rechts", "zolder"},
                                      {4, 1, "bon", "kassa"},
                                      {5, 1, "breed", "hal"},
                                      {6, 2, "AUX", "terminal", true},
                                      {7, 1, "TERMINAL", "terminal"},
                                      {8, 1, "uit", "bestanden", true},
                                      {8, 3, "nergens", "weg", true}}) {
            add_connection(one);
        }
        for (const Form &one : {Form{2, 1, 80, 66, "staand"},
                                {2, 2, 132, 66, "smal", "\\1bE\\\\", "\\0c"},
                                {3, 1, 132, 66, "kort"},
                                {3, 2, 132, 72, "lang"},
                                {3, 3, 80, 0, "rol"},
                                {4, 1, 80, 66, "bon"},
                                {5, 1, 200, 50, "breed"},
                                {6, 1, 132, 66, "aux"},
                                {7, 1, 132, 66, "tty"},
                                {8, 1, 132, 66, "bestand"}}) {
            add_form(one);
        }
    }

    /// The job that the set-up leads to without a question, closed again; "geen" when there is none.
    static std::string silently(const print_setup &setup, int options, const char *file = nullptr) {
        if (!XPRT_OPEN(setup, static_cast<std::uint16_t>(options), file)) {
            return "geen";
        }
        const print_job &job = prt_job;
        std::string text =
            str_format("%dx%d %s%s%s<%s>", job.rpt_width, job.rpt_lines, job.preview ? "P" : "",
                       job.aux ? "A" : "", job.to_directory ? "D" : "", job.device.c_str());
        EXPECT_EQ(job.copies, 1);
        EXPECT_EQ(job.rpt_line, 10000);
        prt_close("");
        EXPECT_EQ(job_files(), 0);
        return text;
    }
    static TerminalOptions probe(const std::vector<std::string> &arguments) {
        TerminalOptions options;
        options.program = PRINT_PROBE;
        options.arguments = arguments;
        return options;
    }
};

TEST_F(Destination, OneAnswerIsTakenInSilence) {
    struct Case {
        print_setup setup;
        int options;
        const char *job;
        const char *file = nullptr;
    };
    const Case cases[] = {
        {{1, 0, 1}, 4, "132x64 P</dev/null>"},
        {{1, 0, 1}, 2, "80x64 P</dev/null>"},
        {{1, 0, 0}, 1, "40x9999 P</dev/null>"},
        {{2, 0, 1}, 4, "132x66 <laser1>"},
        {{2, 0, 9}, 2, "80x66 <laser1>"},
        {{3, 0, 4}, 2, "80x9999 <rechts>"},
        // No form fits: the screen, where it will do.
        {{4, 0, 1}, 4, "geen"},
        {{4, 1, 1}, 4, "132x64 P</dev/null>"},
        {{4, 1, 0}, 5, "132x64 P</dev/null>"},
        {{5, 1, 1}, 2, "80x64 P</dev/null>"},
        {{5, 1, 1}, 33, "40x64 P</dev/null>"},
        {{5, 1, 1}, 32, "132x64 P</dev/null>"},
        {{5, 0, 1}, prt_any_page, "200x50 <breed>"},
        // A list with one line.
        {{3, 0, 0}, 2 | 16, "geen"},
        {{3, 0, 4}, 4, "132x66 <rechts>"},
        {{3, 0, 4}, 4 | 16, "132x72 <rechts>"},
        {{3, 0, 1}, 4 | 32, "132x66 <links>"},
        {{9, 1, 0}, 4, "geen"},
        // A directory that is not there.
        {{8, 0, 3}, 4, "geen"},
        // To the caller's file.
        {{2, 2, 1}, 4, "132x64 <lijst.txt>", "lijst.txt"},
        {{0, 2, 0}, 2 | 32, "80x64 <lijst.txt>", "lijst.txt"},
        {{0, 2, 0}, 1, "40x64 <lijst.txt>", "lijst.txt"},
        {{0, 2, 0},
         4,
         "132x64 <a23456789012345678901234567890123456789>",
         "a23456789012345678901234567890123456789"},
        {{0, 2, 0}, 4, "geen", "a234567890123456789012345678901234567890"},
        {{0, 2, 0}, 4, "geen", ""},
        {{0, 2, 0}, 4, "geen"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(silently(c.setup, c.options, c.file), c.job)
            << c.setup.printer << " " << int{c.setup.flags} << " " << int{c.setup.connection} << " "
            << c.options;
    }
    EXPECT_EQ(silently({8, 0, 1}, 4).substr(0, 16), "132x66 D<uit/PRA");
}

TEST_F(Destination, TextsOfTheFormGoAroundTheReport) {
    ASSERT_TRUE(XPRT_OPEN({2, 0, 1}, prt_fits_132, nullptr));
    EXPECT_EQ(prt_job.start_offset, 3);
    prt_printf("regel\n");
    prt_close("");
    ASSERT_TRUE(eventually([] { return job_files() == 0; }));
    EXPECT_EQ(get("laser1"), "\033E\\regel\n\f\f");
}

TEST_F(Destination, DirectoryGetsItsFile) {
    ASSERT_TRUE(XPRT_OPEN({8, 0, 1}, prt_fits_132, nullptr));
    prt_printf("regel\n");
    prt_close("");
    ASSERT_EQ(std::distance(fs::directory_iterator("uit"), {}), 1);
    EXPECT_EQ(fs::directory_iterator("uit")->path().filename().string().substr(0, 2), "TR");
}

TEST_F(Destination, TerminalsOfTheOperator) {
    struct Case {
        const char *printer, *file;
        const char *job;
        bool through;  // the printer behind the terminal gets it, and not the terminal itself
    };
    const Case cases[] = {
        {"6", "-", "AD <tty>", true}, {"7", "-", "<tty>", false}, {"1", "TERMINAL", "P <tty>", false}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.job);
        Terminal t(probe({c.printer, "0", "0", "4", c.file}));
        if (*c.printer == '1') {
            // The screen shows the report first.
            ASSERT_TRUE(t.wait_for("Einde overzicht"));
            t.type("p");
        }
        // On the terminal itself the report may scroll the screen away.
        const auto in = [](const std::string &text, const char *part) {
            return text.find(part) != std::string::npos;
        };
        EXPECT_TRUE(
            t.wait_until([&] { return in(t.raw(), c.job) && in(t.raw(), "regel\n\f"); }, "the report"));
        EXPECT_EQ(in(t.printed(), "regel\n\f"), c.through);
        EXPECT_TRUE(eventually([] { return job_files() == 0; }));
    }
}

TEST_F(Destination, OperatorPicks) {
    Terminal t(probe({"3", "0", "0", "22", "-"}));
    ASSERT_TRUE(t.wait_row(24, "┘"));
    ASSERT_TRUE(
        t.wait_row(4, "Printer      Device               Configuratie                  Kol  Rij O W"));
    EXPECT_EQ(t.row(3).find("┌"), 0U);
    EXPECT_NE(t.row(3).find(" Printbestemming "), std::string::npos);
    EXPECT_EQ(t.row(5), "│ MAGAZIJN     hal                  lang                          132   72 L N │");
    EXPECT_EQ(t.row(6), "│ MAGAZIJN     hal                  rol                            80    0 P N │");
    EXPECT_EQ(t.row(7), "│ MAGAZIJN     zolder               lang                          132   72 L N │");
    EXPECT_EQ(t.row(9), "│" + std::string(78, ' ') + "│");
    // No way out but a pick.
    t.key("DOWN");
    for (const char *key : {"ESC", "CANCEL"}) {
        t.key(key);
        ASSERT_TRUE(t.wait_row(25, "U dient een printbestemming te selecteren"));
        ASSERT_TRUE(t.wait_until([&] { return t.attr(5, 3).reverse; }, "the list again"));
        t.key("DOWN");
        ASSERT_TRUE(t.wait_row(25, ""));
    }
    t.type("x");
    t.keys({"F5", "DOWN", "F3"});
    ASSERT_TRUE(t.wait_for("klaar"));
    EXPECT_EQ(t.row(2), "132x72  <rechts> [|] 1");
}

TEST_F(Destination, ListOfAllPrintersAndOneThatIsEmpty) {
    add_form({8, 2, 132, 66, "nog een"});
    Terminal t(probe({"0", "1", "0", "4", "-"}));
    ASSERT_TRUE(t.wait_for("MAP          bestanden            nog een                       132   66 L J"));
    EXPECT_EQ(t.row(5).substr(4),
              "SCR          SCR                  SCR-132                       132   64 L J │");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Einde overzicht"));
    t.type("n");
    ASSERT_TRUE(t.wait_for("klaar"));

    Terminal none(probe({"9", "1", "0", "4", "-"}));
    ASSERT_TRUE(none.wait_for("Er is geen geldig uitvoermedium geselecteerd"));
    EXPECT_TRUE(none.wait_for(" Printen "));
    none.key("ENTER");
    EXPECT_TRUE(none.wait_for("geen job"));
}

TEST_F(Destination, PrintingToAFile) {
    struct Case {
        const char *options, *file;
        const char *typed;  // in the box of the widths
        const char *seen;
    };
    const Case cases[] = {
        {"4", "-", nullptr, "No outputfile supplied"},
        {"4", "", nullptr, "Invalid path to outputfile"},
        {"65535", "lijst", "8", "80x64  <lijst> [|] 1"},
        {"6", "lijst", "\r", "80x64  <lijst> [|] 1"},
        {"5", "lijst", "81", "132x64  <lijst> [|] 1"},
        {"6", "lijst", "\033", "geen geldig uitvoermedium"},
        {"32", "lijst", "148\r\033", "geen geldig uitvoermedium"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.seen);
        file_delete("lijst");
        Terminal t(probe({"0", "2", "0", c.options, c.file}));
        if (c.typed != nullptr) {
            ASSERT_TRUE(t.wait_for("132 koloms"));
            EXPECT_TRUE(t.wait_row(10, "Printbreedte"));
            t.send(c.typed);
        }
        ASSERT_TRUE(t.wait_for(c.seen));
        // The program may be gone before the shell has the report there.
        t.key("ENTER");
        if (std::string(c.seen).find("lijst") != std::string::npos) {
            EXPECT_TRUE(eventually([] { return get("lijst") == "regel\n\f"; })) << get("lijst");
        }
    }
}

TEST_F(Destination, DirectoryThatIsNoneIsToldAtEveryReport) {
    TerminalOptions options = probe({"1", "0", "1", "4", "-"});
    options.environment["ZUVPRT"] = "nergens";
    Terminal t(options);
    ASSERT_TRUE(t.wait_for("De env.var. ZUVPRT bevat geen geldige directorie."));
    EXPECT_TRUE(t.wait_for("De huidige directorie wordt gebruikt."));
    EXPECT_TRUE(t.wait_for(" PRINTEN "));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Einde overzicht"));
}

// -----------------------------------------------------------------------------------------------------------
// The files

using PrinterFiles = Printers;

TEST_F(PrinterFiles, DirectoryOfTheEnvironment) {
    const std::string deep = "d2345678901234567890123456789012345678901234567890123456789012";
    fs::create_directory("map");
    fs::create_directory(deep);  // 62 characters
    fs::create_directory(deep + "x");
    put("bestand");
    const std::pair<std::string, std::string> cases[] = {
        {"map", "map/TR_PTRG"},
        {"map/", "map/TR_PTRG"},
        {"./map", "./map/TR_PTRG"},
        {deep + "x", deep + "x/TR_PTRG"},
        {deep + "xy", deep + "/TR_PTRG"},
        {"bestand", "TR_PTRG"},
        {"", "TR_PTRG"},
        {"nergens", "TR_PTRG"},
    };
    for (const auto &[value, name] : cases) {
        setenv("ZUVPRT", value.c_str(), 1);
        prt_path_forget();
        EXPECT_EQ(prt_path("TR_PTRG"), name);
    }
    setenv("ZUVPRT", "map", 1);
    EXPECT_EQ(prt_path("TR_PTRG"), "TR_PTRG") << "read once";
    prt_path_forget();
    ASSERT_TRUE(XPRT_OPEN({1, 0, 1}, prt_fits_132, nullptr));
    prt_close("");
    EXPECT_EQ(IXCHECK("map/TR_PTRCA"), 0);
    EXPECT_FALSE(file_exists("TR_PTRG.TXT"));
}

/// All that the files hold, as text.
std::string contents() {
    const printer_table table;
    if (!table.is_open()) {
        return "closed";
    }
    std::string text;
    PrinterRecord printer{};
    for (bool more = IXFIRST(table.general.icb, &printer); more; more = IXNEXT(table.general.icb, &printer)) {
        text += str_format("%d %s; ", static_cast<int>(printer.printer), printer_text(printer.name).c_str());
    }
    ConnectionRecord c{};
    for (bool more = IXFIRST(table.connections.icb, &c); more; more = IXNEXT(table.connections.icb, &c)) {
        text += str_format("%d.%d %s<%s> ", static_cast<int>(c.printer), static_cast<int>(c.connection),
                           printer_text(c.name).c_str(), printer_text(c.device).c_str());
    }
    PropertyRecord form{};
    for (bool more = IXFIRST(table.properties.icb, &form); more; more = IXNEXT(table.properties.icb, &form)) {
        text += str_format("%d.%d %s ", static_cast<int>(form.printer), static_cast<int>(form.property),
                           printer_text(form.description).c_str());
    }
    return text;
}

TEST_F(PrinterFiles, AreMadeAndMended) {
    const std::string fresh = "1 SCR; 1.1 SCR<> 1.1 SCR-40 1.2 SCR-80 1.3 SCR-132 ";
    ASSERT_TRUE(prt_tables_ready());
    EXPECT_EQ(contents(), fresh);
    EXPECT_EQ(file_size("TR_PTRP.TXT"), 3 * 284);
    EXPECT_EQ(file_size("TR_PTRCA.TXT"), 0);
    add_printer(2, "LASER");
    add_connection({2, 1, "laser1", "kantoor"});
    const std::string filled =
        "1 SCR; 2 LASER; 1.1 SCR<> 2.1 kantoor<laser1> 1.1 SCR-40 1.2 SCR-80 1.3 SCR-132 ";

    const std::pair<const char *, std::function<void()>> damage[] = {
        {"none", [] {}},
        {"no index", [] { file_delete("TR_PTRG.INX"); }},
        {"an empty index", [] { put("TR_PTRC.INX"); }},
        {"an index that is no index", [] { put("TR_PTRP.INX", std::string(2048, 'x')); }},
        {"an index cut", [] { fs::resize_file("TR_PTRG.INX", 1000); }},
        {"an update broken off",
         [] {
             ICB *icb = IXOPEN("TR_PTRG", ix_exclusive);
             icb->inupdate = 1;
             IXCLOSE(icb);
         }},
        {"no data of the forms", [] { file_delete("TR_PTRP.TXT"); }},
        {"making the forms broken off",
         [] {
             ICB *icb = IXOPEN("TR_PTRP", ix_exclusive);
             IXINIT(icb);
             IXCLOSE(icb);
         }},
        {"no codes",
         [] {
             file_delete("TR_PTRCA.TXT");
             file_delete("TR_PTRCA.INX");
         }},
    };
    for (const auto &[what, spoil] : damage) {
        spoil();
        EXPECT_TRUE(prt_tables_ready()) << what;
        EXPECT_EQ(contents(), filled) << what;
        for (const char *name : {"TR_PTRG", "TR_PTRC", "TR_PTRP", "TR_PTRCA"}) {
            EXPECT_GE(IXCHECK(name), 0) << what << " " << name;
        }
    }
}

TEST_F(PrinterFiles, ThatCannotBeUsedFailTheReport) {
    const std::pair<const char *, std::function<void()>> damage[] = {
        {"a directory for a data half", [] { fs::create_directory("TR_PTRG.TXT"); }},
        {"a directory for an index half", [] { fs::create_directory("TR_PTRC.INX"); }},
        {"half a record", [] { put("TR_PTRP.TXT", std::string(300, 'x')); }},
    };
    for (const auto &[what, spoil] : damage) {
        spoil();
        EXPECT_FALSE(XPRT_OPEN({1, 0, 1}, prt_fits_132, nullptr)) << what;
        EXPECT_FALSE(XPRT_OPEN({1, 0, 1}, prt_fits_132, nullptr)) << what << ", again";
        for (const auto &entry : fs::directory_iterator(path)) {
            fs::remove_all(entry);
        }
    }
}

}  // namespace
