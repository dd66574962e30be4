#pragma once

// The parts of the report's page, compiled in from the files in page/ and from dygraphs, so that
// the tool needs none of them where it runs.
namespace page {

extern const char kStyle[];
extern const char kBody[]; // from the body's start tag up to the first script
extern const char kScript[];
extern const char kDygraphs[];

} // namespace page
