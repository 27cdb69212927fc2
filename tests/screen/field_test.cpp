// The field editor by table: what stands on the screen while keys are typed, and what comes of it.
#include "support/terminal.h"

namespace {

struct Row {
    const char *format;
    const char *value;        // of the variable before
    const char *typed;        // then:
    const char *shown;        //   the field on the screen, with its scroll marks; null: not looked at
    int cursor;               //   index in the field
    const char *message;      //   how it begins
    const char *end = "";     // typed after that, if anything; then:
    const char *result = "";  //   the field on the screen, and variable, change, exit key if it is not Enter
    const char *more = "";    // exit keys, limits, or where the field stands
};

const Row rows[] = {
    // Text.
    {"5c", "abcde", "x", "x____", 1, "", "<ENTER>", "x [x....] changed"},
    {"5c", "abcde", "<RIGHT>x", "axcde", 2, "", "<ENTER>", "axcde [axcde] changed"},
    {"5c", "ab   ", "<END>", "ab___", 2, "", "<ENTER>", "ab [ab...] same"},
    {"3s", "ab", "<RIGHT><RIGHT><RIGHT>", "ab_", 2, "", "c<ENTER>", "abc [abc.] changed"},
    {"3s", "abc", "<END>d", "abc", 3, "Tik <ENTER> toets", "<ENTER>", "abc [abc.] same"},
    {"6s", "abcdef", "<RIGHT><INS>xy", "axybcd", 3, "", "<ENTER>", "axybcd [axybcd.] changed"},
    {"6s", "abcd", "<INS>x", "x_____", 1, "", "<INS>y<ENTER>", "xy [xy.....] changed"},
    {"6s", "abcdef", "<RIGHT><DEL>", "acdef_", 1, "", "<DEL><ENTER>", "adef [adef...] changed"},
    {"6s", "abcdef", "<DEL>x", "xcdef_", 1, "", "<ENTER>", "xcdef [xcdef..] changed"},
    {"6s", "abcdef", "<BACKSPACE>", "______", 0, "", "<ENTER>", " [.......] changed empty"},
    {"6s", "abcdef", "<BACKSPACE><HOME>", "abcdef", 0, "", "<ENTER>", "abcdef [abcdef.] same"},
    {"6s", "abcdef", "xyz<HOME><HOME>q", "qbcdef", 1, "", "<END><^H><ENTER>", "qbcde [qbcde..] changed"},
    {"6s", "abcdef", "<LEFT><^W>", "abcdef", 0, "", "<ENTER>", "abcdef [abcdef.] same"},
    {"6s,E", "", "<ENTER>", "______", 0, "<> Ingave verplicht", "x<ENTER>", "x [x......] changed"},
    {"6s,F", "", "abc<ENTER>", "abc___", 0, "<abc> Volledig vullen", "abcdef<ENTER>",
     "abcdef [abcdef.] changed"},
    {"6s,U", "", "aé1", "AÉ1___", 3, "", "<ENTER>", "AÉ1 [AÉ1....] changed"},
    {"6s,I", "abcdefghij", "", "______", 0, "", "<ENTER>", " [.......hij.] same empty"},
    {"6s,S", "abc", "xy", "______", 2, "", "<ENTER>", " [xy.....] changed"},
    {"6s,SE", "", "xy<HOME><RIGHT><DEL>", "______", 1, "", "<ENTER>", " [x......] changed"},
    {"13c[1234567890]", "", "1a", "1____________", 1, "<a> Ongeldige ingave!!"},
    {"3c[^.,]", "", ".", "___", 0, "<.> Ongeldige ingave!!", "x;<ENTER>", "x; [x;.] changed"},
    {"1c[+*C],EIAU", "*", "x", "_", 0, "<X> Ongeldige ingave!!", "c", "C [C] changed"},
    {"1s[],AUE", "", "x", "_", 0, "<X> Ongeldige ingave!!", "<ESC>", " [..] same esc empty", "cancel"},
    {"4s", "ab", "<END>cd", "abcd", 2, "", "<ENTER>", "abcd [abcd.] changed", "edge"},
    // Keys that end a field.
    {"6s", "abc", "xy<HOME>", "xy____", 0, "", "<CANCEL>", "abc [abc....] same cancel", "cancel"},
    {"6s", "abc", "xy<CANCEL>", "xy/___", 3, "", "<ENTER>", "xy/ [xy/....] changed", "cancel"},
    {"6s", "abc", "xy", "xy____", 2, "", "<ESC>", "abc [abc....] same esc", "cancel"},
    {"6s", "abc", "<ESC>", "abc___", 0, "Ongeldige toets", "<CANCEL><ENTER>", "/ [/......] changed"},
    {"6s,I", "abc", "", "______", 0, "", "<CANCEL>", " [.......] same cancel empty", "cancel"},
    {"5d,I", "77", "", "_____", 0, "", "<CANCEL>", " [0] same cancel empty", "cancel"},
    {"6s", "abc", "xy", "xy____", 2, "", "<UP>", "xy [xy.....] changed up", "up"},
    {"6s,E", "", "<UP>", "______", 0, "<> Ingave verplicht", "x<UP>", "x [x......] changed up", "up"},
    {"6s,E", "", "", "______", 0, "", "<TAB>", " [.......] same tab empty", "tab"},
    {"6s,E", "", "<DOWN>", "______", 0, "Ongeldige toets", "x<ENTER>", "x [x......] changed", "up"},
    {"6s", "abc", "x", "x_____", 1, "", "<HOME><HELP>", "abc [abc....] same help", "help"},
    {"6s", "abc", "", "abc___", 0, "", "<F1>", "abc [abc....] same f1", "help"},
    {"6s", "abc", "x<HELP>", "x?____", 2, "", "<ENTER>", "x? [x?.....] changed"},
    {"6s", "abc", "x<EXIT>", "x_____", 1, "Ongeldige toets", "<ENTER>", "x [x......] changed"},
    {"6s", "abcdef", "<INTR>", "bcdef_", 0, "", "<ENTER>", "bcdef [bcdef..] changed"},
    {"8D", "28022026", "01", "01-02-26", 3, "", "<ESC>", "28-02-26 [28-02-2026] same esc", "cancel"},
    {"10D", "", "0103", "01-03-____", 6, "", "<ESC>", "  -  - [0] same esc empty", "cancel"},
    // Numbers.
    {"7l,IEZP", "55", "<ENTER>", "_______", 0, "<> Ingave verplicht", "0<ENTER>", "0 [0] same"},
    {"7l,ZP", "0", "", "_______", 0, "", "<ENTER>", " [0] same empty"},
    {"7l,P", "12", "0<ENTER>", "0______", 0, "<0> Moet ongelijk zijn aan 0", "8<ENTER>", "8 [8] changed"},
    {"7l,N", "-3", "3<ENTER>", "3______", 0, "<3> Alleen -999999 t/m -1", "-12<ENTER>", "-12 [-12] changed"},
    {"3d,P", "5", "-", "5__", 0, "<-> Ongeldige ingave!!", "<ENTER>", "5 [5] same"},
    {"3d", "12345", "<ENTER>", "123", 0, "<12345> Alleen -99 t/m 999", "7<ENTER>", "7 [7] changed"},
    {"4d,P", "5", "75<ENTER>", "75__", 0, "<75> Alleen 1 t/m 20 mogelijk", "20<ENTER>", "20 [20] changed",
     "1:20"},
    {"4d,P", "5", "0<ENTER>", "0___", 0, "<0> Moet ongelijk zijn aan 0", "9999<ENTER>", "9999 [9999] changed",
     "1:20000"},
    {"4d", "5", "4<ENTER>", "4___", 0, "<4> Alleen 5 t/m 9999", "5<ENTER>", "5 [5] same", "5"},
    {"3U", "0", "256<ENTER>", "256", 0, "<256> Alleen 0 t/m 255", "255<ENTER>", "255 [255] changed"},
    {"5u", "65535", "65536<ENTER>", "65536", 0, "<65536> Alleen 0 t/m 65535"},
    {"11l", "0", "2147483648<ENTER>", "2147483648_", 0, "<2147483648> Alleen -2147483647 t/m 2147483647",
     "2147483647<ENTER>", "2147483647 [2147483647] changed"},
    {"6.2f,ZPN", "0", "1.234<ENTER>", "1.234_", 0, "<1.234> Teveel cijfers na de komma", "1,5<ENTER>",
     "1.50 [1.500] changed"},
    {"6.2f,ZPN", "5", "100-<ENTER>", "100-__", 0, "<100-> Alleen -99.99 t/m 99.99", "0-<ENTER>",
     "0.00 [0.000] changed", "-99.99:99.99"},
    {"8B,JEP", "123456", "", "1234.56_", 0, "", "12,3<ENTER>", "   12.30 [1230] changed"},
    {"8B,JEP", "1", "100000<ENTER>", "100000__", 0, "<100000> Alleen 0.01 t/m 99999.99", "99999.99<ENTER>",
     "99999.99 [9999999] changed"},
    // Dates.
    {"8D", "", "1-3-26", "01-03-26", 8, "", "<ENTER>", "01-03-26 [01-03-2026] changed"},
    {"8D", "28022026", "<RIGHT>-", "28-02-26", 3, "", "1-<ENTER>", "28-12-26 [28-12-2026] changed"},
    {"8D", "", "12", "12-__-__", 3, "", "0326<ENTER>", "12-03-26 [12-03-2026] changed"},
    {"7D", "01032026", "02", "020326", 2, "", "<ENTER>", "020326 [02-03-2026] changed"},
    {"10D", "01032026", "", "01-03-2026", 0, "", "<ENTER>", "01-03-2026 [01-03-2026] changed"},
    {"8D,E", "", "<ENTER>", "__-__-__", 0, "<> Ingave verplicht", "1-3-26<ENTER>",
     "01-03-26 [01-03-2026] changed"},
    {"8D", "01032026", "310226<ENTER>", "01-03-26", 0, "<31-02-26> Datum voldoet niet aan DD-MM-JJ",
     "-1<ENTER>", "28-02-26 [28-02-2026] changed"},
    {"6D", "", "310226<ENTER>", "______", 0, "<31-02-26> Datum voldoet niet aan DDMMJJ", "010326<ENTER>",
     "010326 [01-03-2026] changed"},
    {"10D", "", "12<ENTER>", "__-__-____", 0, "<12-> Datum voldoet niet aan DD-MM-JJJJ"},
    {"10D", "01032026", "01012079<ENTER>", "01-03-2026", 0,
     "<01-01-2079> Alleen datum tussen 01-01-1900 en 31-12-2078", "01011900<ENTER>",
     "01-01-1900 [01-01-1900] changed"},
    {"8D", "", "010175<ENTER>", "__-__-__", 0, "<01-01-75> Alleen datum tussen 01-01-1980 en 31-12-2050",
     "311250<ENTER>", "31-12-50 [31-12-2050] changed"},
    {"8D", "", "010100<ENTER>", "__-__-__", 0, "<01-01-00> Alleen datum tussen 02-01-2000 en 31-12-2050",
     "020100<ENTER>", "02-01-00 [02-01-2000] changed", "36527"},
    // One digit of a group, and deletions.
    {"8D", "", "12<LEFT><LEFT><DEL>", "2_-__-__", 0, ""},
    {"8D", "28022026", "<DEL>", "8_-02-26", 0, ""},
    {"8D", "28022026", "<RIGHT><RIGHT><BACKSPACE>", "2 -02-26", 1, "", "<ENTER>",
     "02-02-26 [02-02-2026] changed"},
    {"8D", "28022026", "<END><BACKSPACE><BACKSPACE>", "28-02-__", 6, "", "27<ENTER>",
     "28-02-27 [28-02-2027] changed"},
    {"8D", "28022026", "<END><BACKSPACE><BACKSPACE><BACKSPACE>", "28-0_-__", 4, ""},
    {"8D", "28022026", "<END><BACKSPACE><BACKSPACE><BACKSPACE><BACKSPACE><BACKSPACE>", "2_-__-__", 1, "",
     "90326<ENTER>", "29-03-26 [29-03-2026] changed"},
    {"8D", "28022026", "<RIGHT><RIGHT>", "28-02-26", 3, "", "<LEFT>7<ENTER>",
     "27-02-26 [27-02-2026] changed"},
    {"8D", "28022026", "<BACKSPACE>", "__-__-__", 0, "", "<ENTER>", "  -  - [0] changed empty"},
    // Days from the date that stood there.
    {"8D", "28022026", "+3", "+3______", 2, "", "<ENTER>", "03-03-26 [03-03-2026] changed"},
    {"8D,E", "", "+3<ENTER>", "+3______", 0, "<+3> Foutieve ingave"},
    {"8D", "", "+3<ENTER>", "__-__-__", 0, "<  -  -  > Alleen datum tussen 01-01-1980 en 31-12-2050"},
    {"8D", "01012050", "+400<ENTER>", "05-02-51", 0,
     "<05-02-51> Alleen datum tussen 01-01-1980 en 31-12-2050"},
    // Answers, hexadecimal digits, texts that scroll, composed characters.
    {"b", "1", "", "J", 0, "", "<ENTER>", "J [1] same"},
    {"b,/E", "1", "-", "N", 1, "", "<ENTER>", "N [0] changed"},
    {"b,I", "1", "<ENTER>", "_", 0, "<> Ingave verplicht", "<HOME><ESC>", "N [0] same esc", "cancel"},
    {"9b", "1", "x", "J", 0, "<X> Ongeldige ingave!!", "<ENTER>", "J [1] same"},
    {"4x", "0A1B", "f", "FA1B", 1, "", "<ENTER>", "FA1B [FA1B] changed"},
    {"4x", "0A1B", "\\z", "7A1B", 2, "", "<ENTER>", "7A1B [7A1B] changed"},
    {"4x", "", "1\\", "1___", 1, "<\\> Ongeldige ingave!!", "2\\é<ENTER>", "1282 [1282] changed"},
    {"4x", "", "\\<UP>", "____", 0, "Ongeldige toets", "g0<ENTER>", "0 [0...] changed"},
    {"20.5S", "", "abcde", "←bcde_", 4, "", "fgh<ENTER>", "abcde [abcdefgh.............] changed"},
    {"20.5S", "abcdefghij", "<END><RIGHT><RIGHT>", "←fghij", 5, "", "<ENTER>",
     "abcde [abcdefghij...........] same"},
    {"20.5S", "abcdefghij", "<RIGHT><RIGHT><RIGHT><RIGHT><RIGHT><RIGHT><RIGHT>", "←defgh→", 4, ""},
    {"20.5S,S", "abcdefghij", "", "_____", 0, "", "<END><ENTER>", " [abcdefghij...........] same"},
    {"20.6S", "abcdefghij", "<END><LEFT><LEFT><LEFT><LEFT><LEFT><LEFT>", "←cdefgh→", 2, "", "<HOME><ENTER>",
     "abcdef [abcdefghij...........] same"},
    {"8.6C", "abcdefgh", "<END>", "←cdefgh", 6, "", "<ENTER>", "abcdef [abcdefgh] same"},
    {"6s", "", "a<F11>e\"<ENTER>", "aë____", 2, "", "<ENTER>", "aë [aë.....] changed"},
    {"6s", "", "<F11>1/4<ENTER>", "¼_____", 1, "", "<F11>65<ENTER><ENTER>", "¼A [¼A.....] changed"},
    {"6s", "ab", "<F11>e#<ENTER>", "ab____", 0, "Ongeldige toets", "<F11><ESC><ENTER>", "ab [ab.....] same"},
    {"6s", "ab", "<F11>265<ENTER>", "ab____", 0, "Ongeldige toets", "<F11>ssx<BACKSPACE><ENTER><ENTER>",
     "ß [ß......] changed"},
    {"6l", "5", "<F11>", "5_____", 0, "Ongeldige toets", "<ENTER>", "5 [5] same"},
    // Letters outside the character set are refused, others arrive.
    {"6s", "", "€é", "é_____", 1, "", "<ENTER>", "é [é......] changed"},
    {"6s", "", "é€", "é_____", 1, "Ongeldige toets", "x<ENTER>", "éx [éx.....] changed"},
    {"4x", "", "\\€", "____", 0, "Ongeldige toets", "7F<ENTER>", "7F [7F..] changed"},
    // Fields that end at what is typed.
    {"6s,F", "abcdef", "", nullptr, 0, "", "<ENTER>", "abcdef [abcdef.] same"},
    {"6s,J", "", "", nullptr, 0, "", "ab<ENTER>", "    ab [ab.....] changed"},
    {"3s,A", "abc", "", nullptr, 0, "", "<END>", "abc [abc.] same"},
    {"3s,A", "", "", nullptr, 0, "", "abc", "abc [abc.] changed"},
    {"3d", "5", "", nullptr, 0, "", "12-<ENTER>", "-12 [-12] changed"},
    {"4n", "-128", "", nullptr, 0, "", "<ENTER>", "-128 [-128] same"},
    {"6.2f,EIJNPZ", "7", "", nullptr, 0, "", ".5<ENTER>", "  0.50 [0.500] changed"},
    {"9B", "-250", "", nullptr, 0, "", "<ENTER>", "-2.50 [-250] same"},
    {"2d,PA", "11", "", nullptr, 0, "", "12", "12 [12] changed"},
    {"5d", "9", "", nullptr, 0, "", "<BACKSPACE><ENTER>", " [0] changed empty", "5:10"},
    {"6d[ +0123456789]", "9", "", nullptr, 0, "", "+12<ENTER>", "12 [12] changed"},
    {"6d[ +0123456789]", "9", "", nullptr, 0, "", "  34<ENTER>", "34 [34] changed"},
    {"D", "01032026", "", nullptr, 0, "", "<ENTER>", "010326 [01-03-2026] same"},
    {"8D", "", "", nullptr, 0, "", "<ENTER>", "  -  - [0] same empty"},
    {"10D", "01032026", "", nullptr, 0, "", "-1<ENTER>", "28-02-2026 [28-02-2026] changed"},
    {"6D", "010326", "", nullptr, 0, "", "+0<ENTER>", "010326 [01-03-2026] same"},
    {"b", "1", "", nullptr, 0, "", "n<ENTER>", "N [0] changed"},
    {"b", "0", "", nullptr, 0, "", "+<ENTER>", "J [1] changed"},
};

/// The field as it stands in its row, from the place of the left scroll mark; a blank there is left out.
std::string field_of(const Terminal &t) {
    std::string row = t.row(5);
    row.erase(0, std::min<std::size_t>(row.size(), 8));
    return row.starts_with(' ') ? row.substr(1) : row;
}

TEST(Field, ShowsWhatIsTypedAndWhatComesOfIt) {
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.format) + " holding '" + row.value + "', typed " + row.typed + row.end);
        Terminal t({.program = RVCHK_PROBE, .arguments = {"edit", row.format, row.value, row.more}});
        // What the line throws away at an interrupt must not be the field itself.
        t.press("<.>");
        if (row.shown != nullptr) {
            t.press(row.typed + std::string("<.>"));
            EXPECT_EQ(field_of(t), std::string(row.shown));
            EXPECT_TRUE(t.row(25).starts_with(row.message)) << t.row(25);
            EXPECT_EQ(t.row(25).empty(), *row.message == '\0');
            EXPECT_EQ(t.cursor(), "5," + std::to_string(row.cursor + 10));
        }
        if (*row.result != '\0') {
            t.press(row.end + std::string("<.>"));
            EXPECT_EQ(field_of(t) + " " + t.row(15), row.result);
            EXPECT_EQ(t.row(16), "");
        }
    }
}

}  // namespace
