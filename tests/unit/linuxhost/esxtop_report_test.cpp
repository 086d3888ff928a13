#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "linuxhost/esxtop_report.h"

namespace {
ORB_ESXTOP_SAMPLE goodSample() {
    ORB_ESXTOP_SAMPLE sample;
    sample.hostName = "orb-lab-01\n";
    sample.utc.tm_year = 2018 - 1900;
    sample.utc.tm_mon = 4;
    sample.utc.tm_mday = 15;
    sample.utc.tm_hour = 2;
    sample.utc.tm_min = 13;
    sample.utc.tm_sec = 6;
    sample.memory = {1048575, 3120, 61200, 984255, true, 0.0};
    sample.cpuLoad = 0.04;
    sample.cpuBusyPercent = 2.154;
    return sample;
}

TEST(EsxtopSample, OneLineOfNamesAndOneOfValues) {
    EXPECT_EQ(format_esxtop_sample(goodSample()),
              "\"(PDH-CSV 4.0) (UTC)(0)\","
              "\"\\\\orb-lab-01\\Memory\\Memory Overcommit (1 Minute Avg)\","
              "\"\\\\orb-lab-01\\Physical Cpu Load\\Cpu Load (1 Minute Avg)\","
              "\"\\\\orb-lab-01\\Physical Cpu(_Total)\\% Processor Time\","
              "\"\\\\orb-lab-01\\Memory\\Machine MBytes\","
              "\"\\\\orb-lab-01\\Memory\\Kernel MBytes\","
              "\"\\\\orb-lab-01\\Memory\\NonKernel MBytes\","
              "\"\\\\orb-lab-01\\Memory\\Free MBytes\",\n"
              "\"05/15/2018 02:13:06\",\"0.00\",\"0.04\",\"2.15\",\"1048575\",\"3120\",\"61200\","
              "\"984255\",\n");
}

TEST(EsxtopSample, WhatTheMachineDoesNotTellHasNoColumn) {
    ORB_ESXTOP_SAMPLE sample = goodSample();
    sample.memory.overcommitKnown = false;
    sample.cpuLoad.reset();
    sample.cpuBusyPercent.reset();
    EXPECT_EQ(
        format_esxtop_sample(sample),
        "\"(PDH-CSV 4.0) (UTC)(0)\","
        "\"\\\\orb-lab-01\\Memory\\Machine MBytes\",\"\\\\orb-lab-01\\Memory\\Kernel MBytes\","
        "\"\\\\orb-lab-01\\Memory\\NonKernel MBytes\",\"\\\\orb-lab-01\\Memory\\Free MBytes\",\n"
        "\"05/15/2018 02:13:06\",\"1048575\",\"3120\",\"61200\",\"984255\",\n");
}

TEST(EsxtopSample, HostNameCannotShiftTheColumns) {
    ORB_ESXTOP_SAMPLE sample = goodSample();
    sample.hostName = "a,b\"c\\d(e)\nf";
    const std::string text = format_esxtop_sample(sample);
    EXPECT_NE(text.find("\"\\\\a_b_c_d_e__f\\Memory\\Free MBytes\",\n"), std::string::npos) << text;
    sample.hostName = "\n";
    EXPECT_NE(format_esxtop_sample(sample).find("\\\\localhost\\"), std::string::npos);
}

TEST(EsxtopSample, HugeFiguresStayWhole) {
    ORB_ESXTOP_SAMPLE sample = goodSample();
    sample.memory.overcommit = std::numeric_limits<double>::max();
    const std::string text = format_esxtop_sample(sample);
    EXPECT_NE(text.find(".00\",\"0.04\""), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.size() - 2), ",\n");
}

TEST(ProcessorTimes, BusyIsAllButIdleAndWaiting) {
    const auto times = parse_processor_times("cpu  10 5 5 70 10 0 0 0 99 99\n"
                                             "cpu0 1 2 3 4\ncpu1 1 2 3 4\ncpuX\nintr 5\ncpu2 1\n");
    EXPECT_EQ(times.processors, 2u) << "lines behind the first other one don't count";
    ASSERT_TRUE(times.busyPercent);
    EXPECT_DOUBLE_EQ(*times.busyPercent, 20.0) << "guest time is part of user time";
}

TEST(ProcessorTimes, OldKernelsTellFourCounters) {
    const auto times = parse_processor_times("cpu 1 1 1 1");
    ASSERT_TRUE(times.busyPercent);
    EXPECT_DOUBLE_EQ(*times.busyPercent, 75.0);
}

TEST(ProcessorTimes, GarbledTextTellsNothing) {
    for (const char *text : {"", "cpu \n", "cpu  1 2 3\n", "cpu  0 0 0 0\n", "cpu  x\n", "intr 1\n",
                             "cpu  99999999999999999999 1 1 1\n"}) {
        const auto times = parse_processor_times(text);
        EXPECT_FALSE(times.busyPercent) << text;
        EXPECT_EQ(times.processors, 0u) << text;
    }
}

TEST(LoadAverage, IsTheFirstNumber) {
    EXPECT_EQ(parse_load_average("0.50 0.40 0.30 1/200 42\n"), 0.5);
    for (const char *text : {"", "x", "-1.0 0", "inf 0", "nan"})
        EXPECT_FALSE(parse_load_average(text)) << text;
}
} // namespace
