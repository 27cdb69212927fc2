// The hand-off of finished jobs to devices, directories, terminals and the spooler, by way of the shell.
#include <sys/stat.h>

#include "report_fixture.h"

namespace {

namespace fs = std::filesystem;

class HandOff : public Report {
protected:
    HandOff() {
        path = testing::TempDir();  // programs may not run from memory
    }
    /// A command of that name, found before the system's.
    void command(const std::string &name, const std::string &script) {
        put(name, "#!/bin/sh\n" + script);
        chmod(name.c_str(), 0700);
        setenv("PATH", (path + ":" + getenv("PATH")).c_str(), 1);
    }
    static void report(const std::string &device, int copies = 1, const char *lp_options = "") {
        wanted.device = device;
        wanted.copies = copies;
        ASSERT_TRUE(open());
        prt_head("links", "%s", "TITEL");
        prt_printf("regel van %d\n", 42);
        prt_close(lp_options);
    }
};

TEST_F(HandOff, DeviceGetsEveryCopyAndNothingStays) {
    // Whatever its name is, it cannot become a command.
    const std::pair<const char *, int> devices[] = {
        {"Kassa_2-A.b:c@host%1", 1}, {"de vice", 2}, {"d;touch gotcha;", 5}, {"d$(touch gotcha)", 2},
        {"d'`touch gotcha`", 2},     {"~", 1},       {"caf\x82", 1}};
    wanted.setup_text = "<begin>";
    wanted.end_text = "<einde>";
    for (const auto &[device, copies] : devices) {
        put(device, "eerder\n");
        report(device, copies);
        ASSERT_TRUE(all_gone());
        const std::string text = get(device);
        EXPECT_EQ(text.rfind("eerder\n<begin>links", 0), 0U) << text;
        EXPECT_EQ(count(text, "regel van 42\n\f<einde>"), copies) << text;
    }
    EXPECT_FALSE(file_exists("gotcha"));
    // Copies that fail still end the job.
    for (const char *device : {"no/such/device", ""}) {
        report(device, 3);
        EXPECT_TRUE(all_gone()) << device;
    }
}

TEST_F(HandOff, OnlyOutputIsHandedOff) {
    const std::pair<void (*)(), const char *> cases[] = {
        {[] {}, ""},
        {[] { prt_printf("half"); }, "<begin>half\n\f<einde>"},
        // A fresh page needs no form feed.
        {[] { prt_printf("een\n"), prt_newpage(), prt_printf("twee\n"), prt_newpage(); },
         "<begin>een\ntwee\n\f<einde>"},
    };
    wanted.setup_text = "<begin>";
    wanted.end_text = "<einde>";
    wanted.device = "device";
    for (const auto &[print, text] : cases) {
        file_delete("device");
        ASSERT_TRUE(open());
        EXPECT_EQ(prt_job.rpt_line, 10000);
        EXPECT_EQ(job_files(), 1);
        print();
        prt_close("");
        ASSERT_TRUE(all_gone());
        EXPECT_EQ(get("device"), text);
        EXPECT_EQ(file_exists("device"), *text != '\0');
    }
}

TEST_F(HandOff, DirectoryGetsAFinishedFile) {
    fs::create_directory("uit gang");
    wanted.to_directory = true;
    for (int round = 1; round <= 2; round++) {
        // The second job finds the final name of its own name taken.
        report("uit gang/PRAA01");
        EXPECT_EQ(job_files(), 0);
        int files = 0;
        for (const auto &entry : fs::directory_iterator("uit gang")) {
            const std::string name = entry.path().filename();
            EXPECT_EQ(name.substr(0, 2), "TR");
            EXPECT_EQ(count(get("uit gang/" + name), "regel van 42"), 1);
            files++;
        }
        EXPECT_EQ(files, round);
    }
    EXPECT_TRUE(file_exists("uit gang/TRAA01"));
}

TEST_F(HandOff, OtherTerminalGetsEveryCopy) {
    // What a terminal gets is lost here; the name of one stands in for it, and '>' shows in the result.
    wanted.aux = true;
    report("terminal", 3);
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(count(get("terminal"), "regel van 42"), 1);
    command("cat", "echo \"$@\" >>" + path + "/calls\n");
    report("terminal", 3);
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(count(get("calls"), "PR"), 3) << get("calls");
}

// A spooler that knows one queue, and tells how it was asked and what it got.
TEST_F(HandOff, SpoolerGetsTheCopiesOfItsDestinations) {
    command("lpstat", "case \"$*\" in '-v winkel' | '-v -r') ;; *) exit 1 ;; esac\n");
    command("lp",
            "echo \"$@\" >>" + path + "/arrived\nshift $(($# - 1))\ncat \"$1\" >>" + path + "/arrived\n");
    // What the spooler does not know is a plain device. Neither a printer on a terminal nor a name like an
    // option is asked for.
    const std::tuple<const char *, bool, bool, int> cases[] = {{"winkel", false, true, 0},
                                                               {"andere", false, false, 2},
                                                               {"-r", false, false, 2},
                                                               {"winkel", true, false, 1}};
    for (const auto &[device, aux, spooler, in_file] : cases) {
        wanted.aux = aux;
        report(device, 2, "-t AFDRUK");
        EXPECT_EQ(prt_job.spooler, spooler) << device;
        EXPECT_TRUE(all_gone()) << "the spooler has taken its own copy";
        EXPECT_EQ(count(get(device), "regel van 42\n\f"), in_file) << device;
    }
    const std::string arrived = get("arrived");
    EXPECT_EQ(arrived.substr(0, 31), "-dwinkel -n2 -c -s -t AFDRUK PR") << "a copy, and no message";
    EXPECT_EQ(count(arrived, "regel van 42\n\f"), 1) << arrived;
}

TEST_F(HandOff, OwnTerminalPassesTheCopiesToItsPrinter) {
    // Nothing can be asked while the printer has the terminal.
    Terminal t(scene("copies -"));
    EXPECT_TRUE(t.play("=> 4=afbreken kan niet | 5=afbreken kan weer | klaar | !lijst"));
    EXPECT_EQ(count(t.printed(), "regel 1 van de lijst\nregel 2 van de lijst\n\f"), 3) << t.printed();
    EXPECT_EQ(count(t.printed(), "\033"), 0) << "nothing of the screen goes to the printer";
    EXPECT_EQ(job_files(), 0);
}

TEST_F(HandOff, BreakingOffIsToldInTheReportAndStopsTheCopies) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"break-lines", "bezig",
         "\n\n\n*************************\n** Printen onderbroken **\n*************************\n\f"},
        {"copies device", "voorbeeld", "\n\f"},
        {"copies", "voorbeeld", "\n\f"},
    };
    for (const auto &[line, shown, end] : cases) {
        SCOPED_TRACE(line);
        file_delete("device");
        Terminal t(scene(line));
        EXPECT_TRUE(t.play(std::string("=> ") + shown + "\n <ESC> => Akkoord\n <ENTER> => klaar"));
        ASSERT_TRUE(all_gone());
        const std::string text = get("device") + t.printed();
        EXPECT_EQ(count(text, "regel 1 van de lijst"), 1);
        EXPECT_EQ(count(text, std::string("regel 2 van de lijst") + end), 1) << text;
    }
}

TEST_F(HandOff, FilesThatCannotBeMadeAreTold) {
    EXPECT_TRUE(plays(scene("not-to-be-made"), R"(
                   => Uitvoermedium <nergens/PRAA01> | kan niet geopend worden |  Printen
        <ENTER>    => Uitvoermedium <> | kan niet geopend worden
        <ENTER>    => geen bestand
    )"));
    EXPECT_EQ(job_files(), 0);
}

}  // namespace
