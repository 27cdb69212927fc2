// The hand-off of finished jobs to devices, directories and the spooler, by way of the shell.
#include <sys/stat.h>

#include <cstdlib>

#include "printer_fixture.h"

namespace {

namespace fs = std::filesystem;

class HandOff : public Report {
protected:
    std::string path_before;
    std::string commands;  // where programs may run from; memory may not be such a place

    void SetUp() override {
        Report::SetUp();
        path_before = getenv("PATH");
        commands = testing::TempDir() + "rvbinXXXXXX";
        ASSERT_NE(mkdtemp(commands.data()), nullptr);
    }
    void TearDown() override {
        setenv("PATH", path_before.c_str(), 1);
        fs::remove_all(commands);
        Report::TearDown();
    }

    /// A command of that name, found before the system's.
    void command(const std::string &name, const std::string &script) {
        put(commands + "/" + name, "#!/bin/sh\n" + script);
        chmod((commands + "/" + name).c_str(), 0700);
        setenv("PATH", (commands + ":" + path_before).c_str(), 1);
    }
    static void report(const std::string &device, int copies = 1) {
        wanted.device = device;
        wanted.copies = copies;
        ASSERT_TRUE(open());
        prt_head("links", "%s", "TITEL");
        prt_printf("regel van %d\n", 42);
        prt_close("");
    }
    static bool all_gone() {
        return eventually([] { return job_files() == 0; });
    }
    /// How often `line` stands in a file.
    static int count(const std::string &file, const std::string &line) {
        const std::string text = get(file);
        int found = 0;
        for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) {
            found++;
        }
        return found;
    }
};

TEST_F(HandOff, WordsOfTheShellAreQuotedWhereTheyMustBe) {
    const std::pair<const char *, const char *> cases[] = {
        {"/dev/lp0", "/dev/lp0"},
        {"Kassa_2-A.b:c@host%1", "Kassa_2-A.b:c@host%1"},
        {"", "''"},
        {"a b", "'a b'"},
        {"a;rm -rf x", "'a;rm -rf x'"},
        {"$(id)", "'$(id)'"},
        {"it's", "'it'\\''s'"},
        {"caf\x82", "'caf\x82'"},
        {"~", "'~'"},
    };
    for (const auto &[text, word] : cases) {
        EXPECT_EQ(shell_word(text), word);
    }
}

TEST_F(HandOff, DeviceGetsEveryCopyAndNothingStays) {
    put("device", "eerder\n");
    for (const int copies : {1, 2, 5}) {
        put("device", "eerder\n");
        wanted.setup_text = "<begin>";
        wanted.end_text = "<einde>";
        report("device", copies);
        ASSERT_TRUE(all_gone());
        const std::string text = get("device");
        EXPECT_EQ(text.rfind("eerder\n<begin>links", 0), 0U) << text;
        EXPECT_EQ(count("device", "regel van 42\n\f<einde>"), copies) << text;
    }
}

TEST_F(HandOff, NameOfADeviceCannotBecomeACommand) {
    for (const char *device : {"de vice", "d;touch gotcha;", "d$(touch gotcha)", "d'`touch gotcha`"}) {
        report(device, 2);
        ASSERT_TRUE(all_gone());
        EXPECT_EQ(count(device, "regel van 42\n"), 2) << device;
        EXPECT_FALSE(file_exists("gotcha"));
    }
}

TEST_F(HandOff, ACopyThatFailsStillEndsTheJob) {
    report("no/such/device", 3);
    EXPECT_TRUE(all_gone());
}

TEST_F(HandOff, EmptyJobsAreDropped) {
    wanted.setup_text = "<begin>";
    wanted.end_text = "<einde>";
    wanted.device = "device";
    ASSERT_TRUE(open());
    EXPECT_EQ(prt_job.start_offset, 7);
    EXPECT_EQ(prt_job.rpt_line, 10000);
    EXPECT_EQ(job_files(), 1);
    prt_close("");
    EXPECT_EQ(job_files(), 0);
    EXPECT_FALSE(file_exists("device"));
    // A line that has only been begun is output.
    ASSERT_TRUE(open());
    prt_printf("half");
    prt_close("");
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(get("device"), "<begin>half\n\f<einde>");
}

TEST_F(HandOff, AFreshPageNeedsNoFormFeed) {
    wanted.device = "device";
    ASSERT_TRUE(open());
    prt_printf("een\n");
    prt_newpage();
    prt_printf("twee\n");
    prt_newpage();
    prt_close("");
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(get("device"), "een\ntwee\n\f");
}

TEST_F(HandOff, PreviewDecides) {
    static bool answer = false;
    static std::string seen;
    static int pages = 0;
    answer = false;
    prt_modules.preview = [] {
        seen = get(prt_job.job_file);
        pages = prt_job.rpt_pages - 1;
        prt_job.copies = 2;
        return answer;
    };
    wanted.preview = true;
    report("device");
    EXPECT_NE(seen.find("regel van 42\n\f"), std::string::npos) << "the file is complete by then";
    EXPECT_EQ(pages, 1);
    EXPECT_EQ(job_files(), 0);
    EXPECT_FALSE(file_exists("device"));
    answer = true;
    report("device");
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(count("device", "regel van 42"), 2);
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
            EXPECT_EQ(count("uit gang/" + name, "regel van 42"), 1);
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
    EXPECT_EQ(count("terminal", "regel van 42"), 1);
    command("cat", "echo \"$@\" >>" + path + "/calls\n");
    report("terminal", 3);
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(count("calls", "PR"), 3) << get("calls");
}

TEST_F(HandOff, SpoolerIsAskedForItsDestination) {
    command("lpstat", "printf '%s\\n' \"lpstat $*\" >>" + path + "/calls\ntest \"$2\" = 'winkel 1'\n");
    command("lp", "printf '%s\\n' \"lp $*\" >>" + path + "/calls\ncat \"$5\" >>" + path + "/spooled\n");
    wanted.device = "winkel 1";
    wanted.copies = 3;
    ASSERT_TRUE(open());
    const std::string job = prt_job.job_file;
    prt_printf("regel\n");
    prt_close("");
    EXPECT_TRUE(prt_job.spooler);
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(get("calls"), "lpstat -v winkel 1\nlp -dwinkel 1 -n3 -c -s " + job + "\n");
    EXPECT_EQ(get("spooled"), "regel\n\f");

    file_delete("calls");
    ASSERT_TRUE(open());
    prt_printf("regel\n");
    prt_close("-o landscape");
    ASSERT_TRUE(all_gone());
    EXPECT_NE(get("calls").find(" -c -s -o landscape PR"), std::string::npos);

    // Neither a printer on a terminal nor a name like an option is asked for.
    file_delete("calls");
    for (const auto &[device, aux] : {std::pair{"winkel 1", true}, std::pair{"-h other", false}}) {
        wanted.device = device;
        wanted.aux = aux;
        ASSERT_TRUE(open());
        prt_printf("regel\n");
        prt_close("");
        EXPECT_FALSE(prt_job.spooler);
    }
    EXPECT_FALSE(file_exists("calls"));
}

/// A spooler of its own: cupsd on a socket in the test's directory, with a queue whose backend writes to a
/// file, once for each copy.
class Spooler : public HandOff {
protected:
    pid_t daemon = -1;

    void TearDown() override {
        if (daemon > 0) {
            kill(daemon, SIGTERM);
            waitpid(daemon, nullptr, 0);
        }
        unsetenv("CUPS_SERVER");
        HandOff::TearDown();
    }

    /// False, with the reason as a failure of the test, when the spooler can't be started.
    void start() {
        chmod(path.c_str(), 0755);
        for (const char *directory : {"cups", "cups/spool", "cups/spool/tmp", "cups/cache", "cups/state"}) {
            fs::create_directory(directory);
        }
        put("cups/cupsd.conf", "Listen " + path +
                                   "/socket\nBrowsing No\nDefaultAuthType None\nWebInterface No\n"
                                   "LogLevel debug\n<Location />\nOrder deny,allow\n</Location>\n"
                                   "<Policy default>\n<Limit All>\nOrder deny,allow\n</Limit>\n</Policy>\n");
        fs::create_directory(commands + "/backend");
        for (const char *part : {"daemon", "filter", "notifier", "monitor", "cgi-bin"}) {
            fs::create_symlink(std::string("/usr/lib/cups/") + part, commands + "/" + part);
        }
        command("backend/tofile", "[ $# -gt 0 ] || exit 0\nfor copy in $(seq \"$4\"); do cat \"$6\" >>" +
                                      path + "/arrived; done\n");
        std::string files = "Printcap\nServerBin " + commands + "\n";
        const std::pair<const char *, const char *> places[] = {
            {"ServerRoot", "cups"},      {"RequestRoot", "cups/spool"}, {"TempDir", "cups/spool/tmp"},
            {"CacheDir", "cups/cache"},  {"StateDir", "cups/state"},    {"ErrorLog", "error_log"},
            {"AccessLog", "access_log"}, {"PageLog", "page_log"},
        };
        for (const auto &[what, where] : places) {
            files += std::string(what) + " " + path + "/" + where + "\n";
        }
        put("cups/cups-files.conf", files);
        setenv("PATH", (path_before + ":/usr/sbin").c_str(), 1);
        chmod(commands.c_str(), 0755);
        setenv("CUPS_SERVER", (path + "/socket").c_str(), 1);
        daemon = fork();
        if (daemon == 0) {
            execlp("cupsd", "cupsd", "-f", "-c", (path + "/cups/cupsd.conf").c_str(), "-s",
                   (path + "/cups/cups-files.conf").c_str(), nullptr);
            _exit(127);
        }
        ASSERT_TRUE(eventually([this] {
                        int status = 0;
                        if (waitpid(daemon, &status, WNOHANG) == daemon) {
                            daemon = -1;
                            return true;
                        }
                        return shell_run("lpstat -r 2> /dev/null | grep -q 'is running'");
                    }) &&
                    daemon > 0)
            << "cupsd can't be started here (packages cups and cups-client): " << get("error_log");
        ASSERT_TRUE(shell_run("lpadmin -p winkel -E -v tofile:x -m raw >lpadmin.log 2>&1"))
            << get("lpadmin.log") << get("error_log");
    }
};

TEST_F(Spooler, TwoCopiesArrive) {
    start();
    if (HasFatalFailure()) {
        return;
    }
    report("winkel", 2);
    EXPECT_TRUE(prt_job.spooler);
    EXPECT_TRUE(all_gone()) << "the spooler has taken its own copy";
    EXPECT_TRUE(eventually([] { return count("arrived", "regel van 42\n\f") == 2; }))
        << get("arrived") << get("error_log");
    // The same by way of the printer files.
    ASSERT_TRUE(prt_tables_ready());
    Printers::add_printer(2, "WINKEL");
    Printers::add_connection({2, 1, "winkel", "hal"});
    Printers::add_form({2, 1, 132, 66});
    const auto open_wanted = prt_modules.job_open;
    prt_modules.job_open = prt_job_open;
    ASSERT_TRUE(XPRT_OPEN({2, 0, 1}, prt_fits_132, nullptr));
    prt_modules.job_open = open_wanted;
    prt_job.copies = 2;
    prt_printf("uit de tabel\n");
    prt_close("");
    EXPECT_TRUE(prt_job.spooler);
    EXPECT_TRUE(all_gone());
    EXPECT_TRUE(eventually([] { return count("arrived", "uit de tabel\n\f") == 2; })) << get("arrived");
    // A destination that the spooler does not know is a plain device.
    report("andere");
    EXPECT_FALSE(prt_job.spooler);
    ASSERT_TRUE(all_gone());
    EXPECT_EQ(count("andere", "regel van 42\n"), 1);
}

}  // namespace
