// The numbered messages the kernel library prints through qor_serv_print:
// one complete line on standard error per call, with the arguments each
// number takes.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "qor/qor_serv.h"
#include "stderr_capture.h"

namespace {

struct HeadingCase {
    int id;
    std::string line;
};

TEST(Messages, HeadingLinesNameTheKernelAndTheProblem) {
    const HeadingCase cases[] = {
        {749, "qor: vdExp: inaccessible memory\n"},
        {750, "qor: vdExp: argument outside the domain of the function\n"},
        {751, "qor: vdExp: singularity: the function has a pole at the argument\n"},
        {752, "qor: vdExp: overflow: the result is too large to represent\n"},
        {753, "qor: vdExp: underflow: the result is too small to represent\n"},
        {754, "qor: vdExp: unknown error\n"},
    };
    for (const HeadingCase& c : cases) {
        StderrCapture capture;
        qor_serv_print(1, c.id, "vdExp");
        EXPECT_EQ(capture.text(), c.line) << "message " << c.id;
    }
}

TEST(Messages, InvalidArgumentCarriesNameAndPosition) {
    StderrCapture capture;
    qor_serv_print(1, 748, "vsPackV", 12);
    EXPECT_EQ(capture.text(), "qor: vsPackV: invalid argument at position 12\n");
}

struct ValueCase {
    int id;
    const char* prefix;
};

TEST(Messages, ValueLinesCarryIndexAndFullPrecisionValue) {
    // Index and value of every value line, named after the kernel argument
    // the value belongs to.
    const ValueCase cases[] = {
        {755, "    a[7] = "},  {756, "    r[7] = "},  {757, "    a[7] = "},  {758, "    r1[7] = "},
        {759, "    r2[7] = "}, {760, "    a[7] = "},  {761, "    b[7] = "},  {762, "    r[7] = "},
        {763, "    a[7] = "},  {764, "    b[7] = "},  {765, "    r1[7] = "}, {766, "    r2[7] = "},
    };
    for (const ValueCase& c : cases) {
        StderrCapture capture;
        qor_serv_print(1, c.id, 7, 0.1);
        EXPECT_EQ(capture.text(), std::string(c.prefix) + "0.10000000000000001\n") << "message " << c.id;
    }
}

TEST(Messages, ValueLinesShowSpecialValuesAndExtremes) {
    StderrCapture capture;
    qor_serv_print(1, 755, 0, -0.0);
    qor_serv_print(1, 756, 1, HUGE_VAL);
    qor_serv_print(1, 756, 2, std::nan(""));
    qor_serv_print(1, 762, -3, 4.9406564584124654e-324);
    qor_serv_print(1, 760, 2147483647, 1.7976931348623157e308);
    EXPECT_EQ(capture.text(),
              "    a[0] = -0\n"
              "    r[1] = inf\n"
              "    r[2] = nan\n"
              "    r[-3] = 4.9406564584124654e-324\n"
              "    a[2147483647] = 1.7976931348623157e+308\n");
}

TEST(Messages, FatalStateMessageTakesNoArguments) {
    StderrCapture capture;
    qor_serv_print(1, 773);
    EXPECT_EQ(capture.text(), "qor: fatal: cannot create this thread's vector-math state (out of memory)\n");
}

TEST(Messages, UnknownNumbersStillPrintOneLine) {
    StderrCapture capture;
    qor_serv_print(1, 9999);
    qor_serv_print(0, 767);
    EXPECT_EQ(capture.text(),
              "qor: message 9999 (not in the catalogue)\n"
              "qor: message 767 (not in the catalogue)\n");
}

TEST(Messages, OverlongNamesAreCutButTheLineStillEnds) {
    const std::string name(2000, 'n');
    StderrCapture capture;
    qor_serv_print(1, 750, name.c_str());
    const std::string text = capture.text();
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(text.find('\n'), text.size() - 1);  // exactly one line
    EXPECT_LT(text.size(), 600u);
    EXPECT_EQ(text.rfind("qor: nnn", 0), 0u);
}

}  // namespace
