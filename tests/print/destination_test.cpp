// From print set-up and printer files to the destination of a job.
#include "print/destination.h"

#include "report_fixture.h"

namespace {

namespace fs = std::filesystem;

/// Printer files of a shop, made by the program itself and filled with the printers of a test.
struct Printers : Report {
    void SetUp() override {
        Report::SetUp();
        prt_modules.job_open = prt_job_open;
        prt_path_forget();
    }

    template <typename Record>
    static void add(const char *file, const std::vector<Record> &records) {
        ICB *icb = IXOPEN(file, ix_exclusive);
        for (const Record &record : records) {
            EXPECT_TRUE(IXWRITE(icb, &record));
        }
        IXCLOSE(icb);
    }
};

/// Seven printers beside the screen.
struct Destination : Printers {
    void SetUp() override {
        Printers::SetUp();
        ASSERT_TRUE(prt_tables_ready());
        fs::create_directory("uit");
        add<PrinterRecord>("TR_PTRG", {{2, {}, "LASER"},
                                       {3, {}, "MAGAZIJN"},
                                       {4, {}, "BON"},
                                       {5, {}, "BREED"},
                                       {6, {}, "AUX"},
                                       {7, {}, "TTY"},
                                       {8, {}, "MAP"}});
        // The screen ignores its own.
        add<ConnectionRecord>("TR_PTRC", {{1, 1, 1, "uit", "SCR"},
                                          {2, 1, 0, "laser1  ", "kantoor"},
                                          {3, 1, 0, "links", "hal"},
                                          {3, 4, 0, "rechts", "zolder"},
                                          {4, 1, 0, "bon", "kassa"},
                                          {5, 1, 0, "breed", "hal"},
                                          {6, 2, 1, "AUX", "terminal"},
                                          {7, 1, 0, "TERMINAL", "terminal"},
                                          {8, 1, 1, "uit", "bestanden"},
                                          {8, 3, 1, "nergens", "weg"}});
        add<PropertyRecord>("TR_PTRP", {{2, 1, 1, 80, 66, "staand", "", ""},
                                        {2, 2, 0, 132, 66, "smal", "\\1bE\\\\", "\\0c"},
                                        {3, 1, 1, 132, 66, "kort", "", ""},
                                        {3, 2, 0, 132, 72, "lang", "", ""},
                                        {3, 3, 1, 80, 0, "rol", "", ""},
                                        {4, 1, 1, 80, 66, "bon", "", ""},
                                        {5, 1, 1, 200, 50, "breed", "", ""},
                                        {6, 1, 1, 132, 66, "aux", "", ""},
                                        {7, 1, 1, 132, 66, "tty", "", ""},
                                        {8, 1, 1, 132, 66, "bestand", "", ""}});
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

TEST_F(Destination, TerminalsOfTheOperator) {
    // Whether the printer behind the terminal gets it, and not the terminal itself.
    const std::tuple<const char *, const char *, const char *, bool> cases[] = {
        {"destination 6 0 0 4", "", " A<tty> 1", true},
        {"destination 7 0 0 4", "", " <tty> 1", false},
        // The screen shows the report first.
        {"destination 1 0 0 4 TERMINAL", "=> Einde overzicht\n p", " P<tty> 1", false}};
    for (const auto &[line, keys, job, through] : cases) {
        SCOPED_TRACE(job);
        Terminal t(scene(line));
        EXPECT_TRUE(t.play(keys));
        // On the terminal itself the report may scroll the screen away.
        EXPECT_TRUE(t.wait_until(
            [&, job = job] { return count(t.raw(), job) > 0 && count(t.raw(), "regel\n\f") > 0; },
            "the report"));
        EXPECT_EQ(count(t.printed(), "regel\n\f") > 0, through);
        EXPECT_TRUE(all_gone());
    }
}

TEST_F(Destination, OperatorPicksFromTheList) {
    // There is no way out but a pick.
    EXPECT_TRUE(plays(scene("destination 3 0 0 22"), R"(
           => 3:┌ | 3: Printbestemming 
           => 4:Printer      Device               Configuratie                  Kol  Rij O W
           => 5=│ MAGAZIJN     hal                  lang                          132   72 L N │
           => 6=│ MAGAZIJN     hal                  rol                            80    0 P N │
           => 7=│ MAGAZIJN     zolder               lang                          132   72 L N │
           => 9=│                                                                              │ | 24:┘
        <DOWN><ESC>       => 25:U dient een printbestemming te selecteren | 5,3 reverse
        <DOWN>            => 25= | 6,3 reverse
        <CANCEL>          => 25:U dient een printbestemming te selecteren | 5,3 reverse
        <DOWN>            => 25=
        x<F5><DOWN><F3>   => klaar | 2=132x72 <rechts> 1
    )"));
    add<PropertyRecord>("TR_PTRP", {{8, 2, 0, 132, 66, "nog een", "", ""}});
    EXPECT_TRUE(plays(scene("destination 0 1 0 4"), R"(
           => MAP          bestanden            nog een                       132   66 L J
           => 5:SCR          SCR                  SCR-132                       132   64 L J │
        <ENTER>           => Einde overzicht
        n                 => klaar
    )"));
    EXPECT_TRUE(plays(scene("destination 9 1 0 4"), R"(
           => Er is geen geldig uitvoermedium geselecteerd |  Printen 
        <ENTER>           => geen job
    )"));
}

TEST_F(Destination, PrintingToAFile) {
    const std::pair<const char *, const char *> cases[] = {
        {"4", "=> No outputfile supplied"},
        {"4 ''", "=> Invalid path to outputfile"},
        {"65535 lijst", "=> 40 koloms | 80 koloms | 132 koloms | 10:Printbreedte\n 8 => 80x64 <lijst> 1"},
        {"6 lijst", "=> 132 koloms\n <ENTER> => 80x64 <lijst> 1"},
        {"5 lijst", "=> 132 koloms\n 81 => 132x64 <lijst> 1"},
        {"6 lijst", "=> 132 koloms\n <ESC> => geen geldig uitvoermedium"},
        {"32 lijst", "=> 132 koloms\n 148<ENTER><ESC> => geen geldig uitvoermedium"},
    };
    for (const auto &[arguments, script] : cases) {
        file_delete("lijst");
        Terminal t(scene(std::string("destination 0 2 0 ") + arguments));
        EXPECT_TRUE(t.play(script));
        if (count(script, "<lijst>") > 0) {
            // The program may be gone before the shell has the report there.
            EXPECT_TRUE(t.play("<ENTER> => exit 0"));
            EXPECT_TRUE(eventually([] { return get("lijst") == "regel\n\f"; })) << get("lijst");
        }
    }
}

TEST_F(Destination, DirectoryThatIsNoneIsToldAtEveryReport) {
    EXPECT_TRUE(plays(scene("destination 1 0 1 4", {{"ZUVPRT", "nergens"}}), R"(
        => De env.var. ZUVPRT bevat geen geldige directorie. | De huidige directorie wordt gebruikt. |  PRINTEN 
        <ENTER> => Einde overzicht
    )"));
}

TEST_F(Destination, PrinterFilesAreMended) {
    const struct {
        const char *what;
        std::function<void()> spoil;
        long forms = 13;
        const char *job = "80x9999 <rechts>";
    } damage[] = {
        {"none", [] {}},
        {"no index", [] { file_delete("TR_PTRG.INX"); }},
        {"an index that is no index", [] { put("TR_PTRP.INX", std::string(2048, 'x')); }},
        {"an index cut", [] { fs::resize_file("TR_PTRG.INX", 1000); }},
        {"an update broken off",
         [] {
             ICB *icb = IXOPEN("TR_PTRG", ix_exclusive);
             icb->inupdate = 1;
             IXCLOSE(icb);
         }},
        {"no codes", [] { file_delete("TR_PTRCA.TXT"), file_delete("TR_PTRCA.INX"); }},
        {"no data of the forms", [] { file_delete("TR_PTRP.TXT"); }, 3, "geen"},
        {"making the forms broken off",
         [] {
             ICB *icb = IXOPEN("TR_PTRP", ix_exclusive);
             IXINIT(icb);
             IXCLOSE(icb);
         },
         3, "geen"},
    };
    for (const auto &each : damage) {
        each.spoil();
        EXPECT_EQ(silently({3, 0, 4}, 2), each.job) << each.what;
        EXPECT_EQ(silently({1, 0, 1}, 4), "132x64 P</dev/null>") << each.what;
        for (const char *name : {"TR_PTRG", "TR_PTRC", "TR_PTRP", "TR_PTRCA"}) {
            EXPECT_GE(IXCHECK(name), 0) << each.what << " " << name;
        }
        EXPECT_EQ(file_size("TR_PTRG.TXT"), 8 * long{sizeof(PrinterRecord)}) << each.what;
        EXPECT_EQ(file_size("TR_PTRC.TXT"), 10 * long{sizeof(ConnectionRecord)}) << each.what;
        EXPECT_EQ(file_size("TR_PTRP.TXT"), each.forms * 284) << each.what;
    }
}

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
    EXPECT_NE(get("map/TR_PTRC.TXT").find("SCR"), std::string::npos);
    EXPECT_FALSE(file_exists("TR_PTRG.TXT"));
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
