// The hand-off of finished jobs to devices, directories and the spooler, by way of the shell.
#include <sys/stat.h>

#include <cstdlib>

#include "report_fixture.h"

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
    for (const char *device :
         {"de vice", "~", "caf\x82", "d;touch gotcha;", "d$(touch gotcha)", "d'`touch gotcha`"}) {
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
    EXPECT_TRUE(prt_job.spooler);
    prt_printf("regel\n");
    prt_close("");
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
        EXPECT_FALSE(prt_job.spooler);
        prt_close("");
    }
    EXPECT_FALSE(file_exists("calls"));
}

}  // namespace
