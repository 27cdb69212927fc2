#include "check/frame/old_course.h"

namespace {

void call(void (*step)()) {
    if (step != nullptr) {
        step();
    }
}

class table_check final : public chk_check {
public:
    explicit table_check(const chk_course &table)
        : chk_check({.flag = table.flag,
                     .date = table.date,
                     .shows_date = table.shows_date,
                     .writes_date = table.writes_date,
                     .withdraws = table.withdraws,
                     .repairs = table.repair != nullptr,
                     .runs_again = table.runs_again,
                     .report_time = table.report_time,
                     .refusal = table.refusal}),
          course(table) {}
    const char *status() const override {
        return course.status();
    }
    const char *title() const override {
        return course.title();
    }
    void open() override {
        call(course.open);
    }
    bool walk() override {
        return course.walk == nullptr || course.walk();
    }
    bool has_errors() override {
        return course.has_errors != nullptr && course.has_errors();
    }
    void mend() override {
        call(course.mend);
    }
    void preface() override {
        call(course.preface);
    }
    void heads(bool first_page) override {
        if (course.heads != nullptr)
            course.heads(first_page);
    }
    void report() override {
        call(course.report);
    }
    const char *success() const override {
        return course.success == nullptr ? chk_check::success() : course.success();
    }
    void figures() override {
        call(course.figures);
    }
    void finish() override {
        call(course.finish);
    }
    bool ask() override {
        return course.ask == nullptr || course.ask();
    }
    void repair() override {
        call(course.repair);
    }
    void close() override {
        call(course.close);
    }

private:
    const chk_course &course;
};

}  // namespace

void chk_perform(const chk_course &course) {
    table_check check(course);
    chk_perform(check);
}
