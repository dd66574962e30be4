#pragma once

#include <string>
#include <vector>

#include "fit/Recorded.h"
#include "log/LineSource.h"
#include "simulate/PlantFile.h"
#include "toml/Problems.h"
#include "trace/Trace.h"

// A table of measurements: comma-separated values below a line that names the columns. One is the
// time; the others bear the names of sensors, nodes and sources, or "ambient", with a unit behind a
// colon where it is not degrees or a share.
//
// Shape:  an empty cell says nothing. Of a name that is a sensor's and a source's, values from 0 to
//         1 are a load. Columns of other names are passed over, and told.
// Units:  the time in seconds, "time_ms" in milliseconds; what comes out is in seconds, degrees, W.
// Errors: told in `problems` with their lines: what is no number, units that cannot be meant, times
//         that go back. Zeros between other readings are a read that failed: left out, and told.
RecordedFile readMeasurements(LineSource& lines, const std::string& file,
                              const PlantDescription& plant, const TraceDescription& board,
                              Problems& problems, std::vector<std::string>& remarks);
