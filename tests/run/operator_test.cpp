// Where the terminal program shows what the checks show, tell and ask.
#include "support/terminal.h"

namespace {

// Each field has a caption, and its number in place of a longer value. "rest" is what stood in its line
// before.
TEST(Operator, EachFieldNoticeAndQuestionHasItsPlace) {
    EXPECT_TRUE(plays(scene("operator"), R"(
                => 25:bijschrift 0ude waarde | 25:rest | 25,1 bold | 25,12 bold | 24:rest
        x       => 25=
        x       => 25:bijschrift 1ude waarde | 25,1 bold
        xx      => 25:bijschrift 2ude waarde | 25,1 bold
        xx      => 24:bijschrift 3ude waarde | 24,1 dim
        xx      => 25:bijschrift 4         e | 25,1 dim
        xx      => 7:bijschrift 5ude waarde
        xx      => 8:bijschrift          6       rde
        xx      => 10:bijschrift 7ude waarde
        xx      => 11:bijschrift          8       rde | 24:rest
        xx      => 3:bijschrift                              9ude waarde | 24=
        xx      => 5:bijschrift                              10de waarde | 24=
        xx      => 7:bijschrift                              11de waarde | 24=
        xx      => 23: bijschrift     12 waarde
        xx      => 24: bijschrift   13                        | 24:rest
        xx      => 24:bijschrift14                            | 24:rest
        xx      => 24:bijschrift 15                           | 24:rest
        xx      => 24=16
        xx      => 24:bijschrift              17de waarde
        xx      => 20:│ regel 1 | 21:│ regel 2 | 22:│ <ENTER> | 2=onder de vensters
        <ENTER> => !regel 1
        x       => 10:─regel 1─ | 12:│ regel 2 | 13:│ <ENTER>
        <ENTER> => !regel 1
        x       => 10=         regel 1 | 11:<ENTER>
        <ENTER> => !regel 1
        x       => 21:│ regel 1 | 22:│ regel 2 | 23:│ <ENTER>
        <ENTER> => !regel 1
        x       => 16:│ regel 1 | 17:│ regel 2 | 19:│ regel 3 | 20:│ regel 4 | 22:│ <ENTER>
        <ENTER> => !regel 1
        x       => 21:│ regel 1 | 22:│ regel 2 regel 3 | 23:│ <ENTER> | 2=onder de vensters
        <ENTER> => !regel 1
        x       => 11:│ regel 1 | 12:│ <ENTER> | 2=
        <ENTER> => !regel 1
        x       => 25: Vraag? (J/N) N
        <ENTER> => 12=antwoord nee
        x       => 23:  Deze keuze alleen uitvoeren in overleg | 24:  Uitvoering hiervan kan | 24,3 reverse | 25: Vraag? (J/N) N
        j<ENTER> => 12=antwoord ja | !Deze keuze | !Vraag
        x       => 22:┌── | 23:│ Vraag? (J/N) N
        <ENTER> => 12=antwoord nee | !│
        x       => 21:  Deze keuze alleen uitvoeren in overleg | 22:  Uitvoering hiervan kan | 24: Vraag? (J/N) N
        j<ENTER> => 12=antwoord ja | !Deze keuze | !Vraag
        x       => 24=Vraag? (J/N) J
        <ENTER> => 12=antwoord ja
        x       => 20:│ regel 1 | 23:│ Vraag? (J/N) _
        n<ENTER> => 12=antwoord nee | !│
        x       => exit 0
    )"));
}

}  // namespace
