#pragma once

// A period that ends in no test: what happens has another cause.
constexpr int kAnHour = 3'600'000;
