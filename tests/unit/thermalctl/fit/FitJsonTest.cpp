#include "fit/FitJson.h"

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "thermalctl/fit/FitExamples.h"
#include "thermalctl/support/JsonText.h"

namespace {

class FitJsonTest : public testing::Test {
protected:
  // Nothing where it is no JSON.
  nlohmann::json written() {
    result.misfit = &measured.misfit;
    result.estimation = &estimation;
    result.names = namesOfOutputs(measured.plant, fit_examples::board());
    std::ostringstream out;
    writeFitJson(result, out);
    return jsonOf(out.str());
  }

  fit_examples::Measured measured{"\"node.*\", \"sensor.chip_t.offset\"", fit_examples::kPlant,
                                  300};
  Estimation estimation = fit_examples::estimationOf(measured);
  FitResult result;
};

TEST_F(FitJsonTest, ANumberHasItsUnitItsGuessAndItsInterval) {
  const nlohmann::json first = written()["quantities"][0];
  EXPECT_EQ(first["name"], "node.chip.joules_per_kelvin");
  EXPECT_EQ(first["unit"], "J/K");
  EXPECT_EQ(first["guess"], 2.5);
  EXPECT_EQ(first["determined"], true);
  EXPECT_NEAR(first["interval"][0].get<double>(), 0.95 * 2.5, 1e-9);
}

TEST_F(FitJsonTest, ANumberThatKeepsItsGuessHasNoInterval) {
  estimation.estimates[0].frozen = true;
  estimation.estimates[1].follows = 0;
  const nlohmann::json quantities = written()["quantities"];
  EXPECT_EQ(quantities[0]["determined"], false);
  EXPECT_TRUE(quantities[0]["interval"].is_null());
  EXPECT_EQ(quantities[1]["determined"], false);
  EXPECT_EQ(quantities[1]["depends_on"], "node.chip.joules_per_kelvin");
}

TEST_F(FitJsonTest, WhatIsNoNumberIsNull) {
  estimation.estimates[0].high = std::numeric_limits<double>::infinity();
  estimation.correlations(0, 1) = std::numeric_limits<double>::quiet_NaN();
  const nlohmann::json json = written();
  ASSERT_FALSE(json.is_discarded());
  EXPECT_TRUE(json["quantities"][0]["interval"][1].is_null());
  EXPECT_TRUE(json["correlations"][0][1].is_null());
}

TEST_F(FitJsonTest, AFilesNameNeedNotBeText) {
  measured.recordings[0].name = "\xff.csv";
  EXPECT_FALSE(written().is_discarded());
}

TEST_F(FitJsonTest, OnlyWhatWasReadHasNoise) {
  // The sensors, and neither node.
  EXPECT_EQ(written()["sensors"].size(), 2U);
}

TEST_F(FitJsonTest, ARecordingHasItsFilesTheirClocksAndItsSensors) {
  measured.values[static_cast<Eigen::Index>(measured.misfit.unknowns.clocksBegin())] = 3.5;
  estimation.fit.values = measured.values;
  estimation.agreement = {{0, 1, 1195, 0.25, 1.5}, {1, 0, 10, 9, 9}};
  EXPECT_EQ(written()["recordings"], jsonOf(R"json([
    {"name": "loads.csv,sensors.csv",
     "files": [{"file": "loads.csv", "offset_seconds": 0.0},
               {"file": "sensors.csv", "offset_seconds": 3.5}],
     "sensors": [{"name": "case_t", "readings": 1195, "rmse": 0.25, "largest": 1.5}]}])json"));
}

TEST_F(FitJsonTest, ASensorHasItsNoiseAndItsStep) {
  measured.misfit.likelihoods[1] = {0.125, 0.5};
  EXPECT_EQ(written()["sensors"], jsonOf(R"json([{"name": "chip_t", "noise": 0.3, "step": 0.0},
                           {"name": "case_t", "noise": 0.125, "step": 0.5}])json"));
}

TEST_F(FitJsonTest, SaysWhetherItIsComplete) {
  EXPECT_EQ(written()["complete"], true);
  estimation.fit.interrupted = true;
  EXPECT_EQ(written()["complete"], false);
}

TEST_F(FitJsonTest, HasTheSentences) {
  result.undetermined = {"first"};
  result.remarks = {"second", "third"};
  EXPECT_EQ(written()["undetermined"], jsonOf(R"(["first"])"));
  EXPECT_EQ(written()["remarks"], jsonOf(R"(["second", "third"])"));
}

TEST_F(FitJsonTest, CorrelationsHaveThreeDigits) {
  estimation.correlations(0, 1) = -0.98765;
  EXPECT_EQ(written()["correlations"],
            jsonOf("[[1.0, -0.988, 0.0], [0.0, 1.0, 0.0], [0.0, 0.0, 1.0]]"));
}

TEST_F(FitJsonTest, WithoutAValidationThereIsNoWordOfOne) {
  EXPECT_FALSE(written().contains("validation"));
  const fit_examples::Measured other("", fit_examples::kPlant, 300);
  const Estimation held = fit_examples::estimationOf(other);
  result.validationMisfit = &other.misfit;
  result.validation = &held;
  const nlohmann::json validation = written()["validation"];
  ASSERT_EQ(validation.size(), 1U);
  EXPECT_EQ(validation[0]["sensors"][0]["readings"], 295);
}

TEST_F(FitJsonTest, OutputsAreTheSensorsAndBehindThemTheNodes) {
  EXPECT_EQ(namesOfOutputs(measured.plant, fit_examples::board()),
            (std::vector<std::string>{"chip_t", "case_t", "node:chip", "node:case"}));
}

TEST(OverallTest, ReadingsCountAndNotSensors) {
  const Agreeing all = overall({{0, 0, 30, 1, 2}, {0, 1, 10, 3, 5}});
  EXPECT_EQ(all.readings, 40U);
  EXPECT_DOUBLE_EQ(all.rmse, std::sqrt((30 * 1 + 10 * 9) / 40.0));
  EXPECT_EQ(all.largest, 5);
  EXPECT_EQ(overall({}).readings, 0U);
}

} // namespace
