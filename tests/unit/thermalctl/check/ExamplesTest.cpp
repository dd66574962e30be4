#include "thermalctl/support/Examples.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "check/Check.h"
#include "check/Silencing.h"

namespace {

using Lines = std::vector<std::string>;

// Every text with a mistake, and what is said about it: the file's ending, the line and column, the
// severity, the marked words, the message, and the hint in brackets. "$" is the end of a line.
const std::map<std::string, std::string> kMistakes = {
    {"beyond-any-sensor/bad", ".conf:5:18: warning: 700000: no sensor of a phone reads 700 °C "
                              "(write thousandths of a degree)"},
    {"blank-line-after-type/bad",
     ".conf:3:11: warning: monitor: the blank line below does not end the item: the lines behind "
     "it still belong to 'cpu_fan' (take out the blank line)"},
    {"blank-line-after-type/bad-end",
     ".conf:3:11: warning: monitor: the blank line below does not end the item: the lines behind "
     "it still belong to 'cpu_fan' (take out the blank line)"},
    {"bracket-after-type/bad", ".conf:4:1: warning: ]: this does not end item 'cpu_fan': directly "
                               "below the type line the daemon ignores a ']' (take it out)"},
    {"bracket-without-item/bad",
     ".conf:10:1: error: ]: the daemon ends: the end of the file follows a ']' that closes a "
     "scenario, and an item must (take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-blank",
     ".conf:10:1: error: ]: the daemon ends: a blank line follows a ']' that closes a scenario, "
     "and an item must (take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-key",
     ".conf:11:1: error: sampling: the daemon ends: 'sampling' follows a ']' that closes a "
     "scenario, and an item must (take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-scen",
     ".conf:11:1: error: SCEN: the daemon ends: 'SCEN' follows a ']' that closes a scenario, and "
     "an item must (take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracket-without-item/bad-twice",
     ".conf:20:1: error: ]: the daemon ends: ']' follows a ']' that closes a scenario, and an item "
     "must (take the ']' out: the next 'SCEN' line ends a scenario)"},
    {"bracketed-scenario-name/bad",
     ".conf:10:6: warning: [game]: the daemon takes the brackets for a part of the scenario's name "
     "(write the name without brackets, and an item's header on a line of its own)"},
    {"camera-at-level-0/bad", ".conf:8:15: warning: 0: at level 1 the daemon switches the camera's "
                              "fixed frame rate on and off again (take 'camera' out of this row)"},
    {"clearing-not-below-threshold/bad",
     ".conf:6:22: error: 70000: the daemon enters level 2 at 70000 and may leave it at once (write "
     "a value below 70000)"},
    {"clearing-not-below-threshold/bad-cold", ".conf:6:22: error: 0: the daemon enters level 2 at "
                                              "0 and may leave it at once (write a value above 0)"},
    {"clearing-thresholds-count/bad",
     ".conf:5:18: error: 70000: the daemon has no clearing threshold for level 2 and leaves it as "
     "soon as it is below 70000 (write a value for each threshold behind 'thresholds_clr')"},
    {"clearing-thresholds-count/bad-more",
     ".conf:6:28: error: 77000: the daemon never looks at this: there is no level 3 (write a "
     "clearing threshold for each threshold, and no more)"},
    {"degrees/bad", ".conf:6:11: error: 60: the daemon takes this for 60 thousandths of a degree "
                    "(write 60000 for 60 °C)"},
    {"device-left-out/bad", ".conf:7:18: warning: fan: from level 1 to level 2 the daemon releases "
                            "'pump' (name in each row all devices of the row before)"},
    {"device-name-repeated/bad", ".env:11:1: error: [big]: 'big' is defined in line 6, too: the "
                                 "name now means this device, and nothing can drive that one"},
    {"device-twice-in-row/bad", ".conf:7:17: warning: fan: the row names 'fan' twice, and the "
                                "daemon goes by the last (name each device of a row once)"},
    {"empty-environment/bad", ".env:1:1: error: [: the daemon finds no sensor and no device here"},
    {"empty-configuration/bad",
     ".conf:1:1: error: $: the daemon finds no item here and never drives a device"},
    {"file-name-missing/bad",
     ".env:1:1: warning: [conf]: no file name: the daemon keeps to the name that it had before "
     "this section (write 'file_name' and the name)"},
    {"file-name-missing/bad-alone",
     ".env:3:1: warning: file_name: no file name: the daemon keeps to the name that it had before "
     "this section (write 'file_name' and the name)"},
    {"floor-below-1/bad", ".conf:9:19: error: 0: this keeps the daemon from ever driving 'fan' "
                          "(write the highest level that the item may ask for)"},
    {"floor-past-table/bad", ".conf:9:19: warning: 5: the daemon never comes up to this: the table "
                             "of 'fan' ends at level 4"},
    {"header-without-bracket/bad",
     ".env:6:1: error: [battery: the header's first word does not end with \"]\": the daemon drops "
     "its last character all the same and takes 'batter' for the name (write the name in brackets "
     "and without white space)"},
    {"header-without-bracket/bad-white-space",
     ".env:6:1: error: [battery: the header's first word does not end with \"]\": the daemon drops "
     "its last character all the same and takes 'batter' for the name (write the name in brackets "
     "and without white space)"},
    {"header-without-bracket/bad-with-items",
     ".env:6:1: error: [fan: the header's first word does not end with \"]\": the daemon drops its "
     "last character all the same and takes 'fa' for the name; 2 items depend on it (write the "
     "name in brackets and without white space)"},
    {"header-without-name/bad", ".env:6:1: warning: []: the section has an empty name that no "
                                "other line can name (write a name between the brackets)"},
    {"item-header-without-bracket/bad",
     ".conf:2:1: warning: [cpu: the daemon calls this item 'cp': it drops the first and the last "
     "character of the word, whatever they are (write a name without a space, and ']' directly "
     "behind it)"},
    {"item-header-without-bracket/bad-alone",
     ".conf:2:1: warning: [: the daemon calls this item '': it drops the first and the last "
     "character of the word, whatever they are (write a name without a space, and ']' directly "
     "behind it)"},
    {"item-header-without-bracket/bad-none",
     ".conf:2:1: warning: [cpu_fan: the daemon calls this item 'cpu_fa': it drops the first and "
     "the last character of the word, whatever they are (write a name without a space, and ']' "
     "directly behind it)"},
    {"item-key-misspelt/bad",
     ".conf:7:1: error: set_point_crl: the daemon ignores 'set_point_crl', and ends because "
     "'set_point_clr' is missing (did you mean 'set_point_clr'?)"},
    {"item-key-misspelt/bad-case", ".conf:7:1: error: Actions: the daemon ignores 'Actions', and "
                                   "ends because 'actions' is missing (did you mean 'actions'?)"},
    {"item-key-misspelt/bad-default",
     ".conf:9:1: error: samplng: the daemon ignores 'samplng' (did you mean 'sampling'?)"},
    {"item-key-of-other-kind/bad", ".conf:9:1: warning: start_level: the daemon ignores "
                                   "'start_level', which a monitor does not have"},
    {"item-key-of-other-kind/bad-list", ".conf:9:1: warning: thresholds: the daemon ignores "
                                        "'thresholds', which an ss item does not have"},
    {"item-key-repeated/bad", ".conf:10:1: warning: sampling: the daemon forgets the 'sampling' "
                              "line above (write each key once, with all its values behind it)"},
    {"item-key-repeated/bad-list",
     ".conf:6:1: warning: thresholds: the daemon adds these values to those of the first "
     "'thresholds' line (write each key once, with all its values behind it)"},
    {"item-key-repeated/bad-rows",
     ".conf:8:1: warning: actions: the daemon adds these words to the rows of the first 'actions' "
     "line, from the lowest level on (write each key once, with all its values behind it)"},
    {"item-key-unknown/bad", ".conf:9:1: warning: hysteresis: the daemon ignores 'hysteresis' (the "
                             "keys of a monitor are 'sensor', 'sampling', 'thresholds', "
                             "'thresholds_clr', 'actions', 'action_info' and 'lowactive')"},
    {"item-key-unknown/bad-comment",
     ".conf:4:1: warning: #: the daemon ignores '#' (there are no comments: take the line out)"},
    {"item-key-without-value/bad", ".conf:9:1: error: sampling: the daemon takes this for 0 (write "
                                   "a value behind 'sampling', or take the line out)"},
    {"item-key-without-value/bad-list",
     ".conf:7:1: error: actions: the daemon finds no values here, and ends because 'actions' is "
     "missing (write a value behind 'actions', or take the line out)"},
    {"item-key-without-value/bad-lowactive",
     ".conf:9:1: error: lowactive: the daemon takes this for false (write a value behind "
     "'lowactive', or take the line out)"},
    {"item-key-without-value/bad-number",
     ".conf:6:1: error: set_point: the daemon takes this for 0, and ends because 'set_point' is "
     "missing (write a value behind 'set_point', or take the line out)"},
    {"item-key-without-value/bad-sensor",
     ".conf:4:1: error: sensor: the daemon takes the word 'sensor' itself for the name, and ends "
     "because 'sensor' is missing (write a value behind 'sensor', or take the line out)"},
    {"item-name-twice/bad",
     ".conf:10:1: error: [cpu_fan]: at device 'fan' the daemon cannot tell this item from the one "
     "in line 2: each takes back what the other asks for (give it another name)"},
    {"item-number-cut-short/bad",
     ".conf:5:18: warning: 70000mC: the daemon reads '70000mC' as 70000 (write digits alone: no "
     "point, no comma, no unit)"},
    {"item-number-too-large/bad",
     ".conf:5:18: error: 4294967295: the daemon reads '4294967295' as -1, what is left of it in 32 "
     "bits (write a number from -2147483648 to 2147483647)"},
    {"item-number-without-digits/bad",
     ".conf:5:24: error: #: the daemon reads '#' as 0 (write a number; there are no comments)"},
    {"item-number-without-digits/bad-setpoint",
     ".conf:6:11: error: warm: the daemon reads 'warm' as 0, and ends because 'set_point' is "
     "missing (write a number; there are no comments)"},
    {"item-sampling-below-1/bad",
     ".conf:9:10: error: 0: while the item is awake the daemon decides every millisecond (write "
     "the sensor's period in milliseconds)"},
    {"item-sampling-below-1/bad-negative",
     ".conf:9:10: error: -1000: while the item is awake the daemon decides every millisecond "
     "(write the sensor's period in milliseconds)"},
    {"item-without-name/bad",
     ".conf:2:1: warning: []: the item's name is empty, and its log lines and reports do not tell "
     "who speaks (write a name between the brackets)"},
    {"items-merged/bad", ".conf:9:1: error: [b]: the daemon adds this item's lines to item "
                         "'cpu_fan', which has not ended (write a blank line above)"},
    {"items-merged/bad-scenario",
     ".conf:9:1: error: SCEN: the daemon ignores this line and adds what is below to item "
     "'cpu_fan', which has not ended (write a blank line above)"},
    {"junk-before-header/bad",
     ".env:6:1: error: #: '#' stands where a header is expected: the daemon stops reading the file "
     "here, without a word (there are no comments outside of a section; take the line out)"},
    {"junk-before-header/bad-behind-a-blank-line",
     ".env:11:1: error: vendor: 'vendor' stands where a header is expected: the daemon stops "
     "reading the file here, without a word (a section begins with its name in brackets; a blank "
     "line ends it)"},
    {"junk-before-header/bad-bracket",
     ".env:6:1: error: battery]: 'battery]' stands where a header is expected: the daemon stops "
     "reading the file here, without a word (did you mean '[battery]'?)"},
    {"junk-before-header/bad-inside",
     ".env:10:1: error: level_table: 'level_table' stands where a header is expected: the daemon "
     "stops reading the file here, without a word (take out the blank line above: it ended the "
     "section)"},
    {"junk-before-header/bad-with-items",
     ".env:1:1: error: #: '#' stands where a header is expected: the daemon stops reading the file "
     "here, without a word; 2 items depend on it, and the daemon ends (there are no comments "
     "outside of a section; take the line out)"},
    {"junk-before-header/bad-without-header",
     ".env:6:1: error: type: 'type' stands where a header is expected: the daemon stops reading "
     "the file here, without a word; 2 items depend on it (write the section's name in brackets "
     "above this line)"},
    {"level-falls/bad", ".conf:8:15: warning: 1: from level 1 to level 2 the daemon lowers 'fan' "
                        "from 2 to 1 (ask for at least what the row before asks for)"},
    {"level-past-table/bad",
     ".conf:8:15: error: 5: the daemon takes level 4 instead, the last in the table of 'fan'"},
    {"level-past-table/bad-twice", ".conf:8:15: error: 5: the daemon takes level 4 instead, the "
                                   "last in the table of 'fan'; so in 1 further place"},
    {"level-table-binary/bad",
     ".env:9:23: error: 0b01: a table in \"0b\" notation: the daemon never writes it, at any level "
     "(write the entries as \"0x\" or decimal numbers)"},
    {"level-table-binary/bad-last-of-a-type",
     ".env:9:17: error: 0b10: a table in \"0b\" notation: the daemon never writes it, at any level "
     "(write the entries as \"0x\" or decimal numbers)"},
    {"level-table-comment/bad", ".env:9:22: error: #: there are no comments: the daemon takes '#' "
                                "and each word behind it for an entry of the table (take it out)"},
    {"level-table-direction/bad",
     ".env:9:23: warning: 2000: the table falls up to here and turns: at level 2 the daemon lets "
     "go where it should hold back more (sort the entries from level 0, without a limit, to the "
     "tightest one)"},
    {"level-table-direction/bad-no-limit",
     ".env:9:21: warning: 17: the table falls up to here and turns: at level 3 the daemon lets go "
     "where it should hold back more (sort the entries from level 0, without a limit, to the "
     "tightest one)"},
    {"level-table-direction/bad-rising",
     ".env:9:25: warning: 0x1: the table rises up to here and turns: at level 3 the daemon lets go "
     "where it should hold back more (sort the entries from level 0, without a limit, to the "
     "tightest one)"},
    {"level-table-empty/bad",
     ".env:6:1: error: [knob]: an empty level table: the daemon never writes anything to this "
     "device (write 'level_table' and the entries, the one for level 0 first)"},
    {"level-table-empty/bad-alone",
     ".env:9:1: error: level_table: an empty level table: the daemon never writes anything to this "
     "device (write 'level_table' and the entries, the one for level 0 first)"},
    {"level-table-entry-not-a-number/bad", ".env:9:18: error: 2A: '2A' is no whole number: the "
                                           "daemon writes 2 for it (write a decimal number)"},
    {"level-table-entry-not-a-number/bad-cpufreq",
     ".env:9:13: error: 0x30: '0x30' is no whole number: the daemon writes 0 for it (write a "
     "decimal number)"},
    {"level-table-entry-too-large/bad",
     ".env:9:13: error: 2850000000: '2850000000' is over 2147483647: the daemon writes -1444967296 "
     "for it, what is left of it in 32 bits (write each entry of the table in quotes, and it is "
     "written as it stands: \"2850000000\")"},
    {"level-table-entry-too-large/bad-cpufreq",
     ".env:9:13: error: 2850000000: '2850000000' is over 2147483647: the daemon writes -1444967296 "
     "for it, what is left of it in 32 bits (write the table in the unit of the driver, such as "
     "kHz: four bytes hold no more)"},
    {"level-table-hex-entry/bad",
     ".env:9:18: error: 20: not in \"0x\" form in a table of such numbers: the daemon drops the "
     "first two characters and reads '' as a hexadecimal number (write all entries of a table in "
     "the same form)"},
    {"level-table-hex-entry/bad-too-long",
     ".env:9:23: error: 0x1FFFFFFFFFFFFFFFF: not in \"0x\" form in a table of such numbers: the "
     "daemon drops the first two characters and reads '1FFFFFFFFFFFFFFFF' as a hexadecimal number "
     "(write all entries of a table in the same form)"},
    {"level-table-lone-quote/bad",
     ".env:9:20: error: \": a quote that stands alone: the daemon takes it for an empty entry (put "
     "the quotes right at the text, without a blank between)"},
    {"level-table-mixed/bad",
     ".env:9:25: warning: half: a bare entry among quoted ones: the daemon writes the whole table "
     "as 'string', which its last entry of a type decides (quote all entries or none)"},
    {"level-table-mixed/bad-number",
     ".env:9:18: warning: \"off\": a quoted entry among bare ones: the daemon writes the whole "
     "table as 'string', which its last entry of a type decides (quote all entries or none)"},
    {"level-table-text-behind-quote/bad",
     ".env:9:26: error: rate: text right behind a quote: the daemon does not end the entry there, "
     "but with the next word that ends with a quote, or with the line (put a blank behind the "
     "closing quote)"},
    {"level-table-text-behind-quote/bad-unclosed",
     ".env:9:26: error: rate: text right behind a quote: the daemon does not end the entry there, "
     "but with the next word that ends with a quote, or with the line (put a blank behind the "
     "closing quote)"},
    {"level-table-unclosed-quote/bad",
     ".env:9:20: error: \"low power: the quote is not closed on this line: the daemon takes the "
     "rest of the line for one entry (close it with a quote at the end of a word)"},
    {"level-without-row/bad",
     ".conf:5:24: error: 80000: at this temperature the daemon releases every device: 'actions' "
     "and 'action_info' have no row for level 3 (write a row for each threshold)"},
    {"level-without-row/bad-info",
     ".conf:5:18: error: 70000: at this temperature the daemon releases every device: "
     "'action_info' has no row for level 2 (write a row for each threshold)"},
    {"look-alike-character/bad",
     ".conf:4:2: error: \xD0\xB5: 's\xD0\xB5nsor' holds U+0435, a Cyrillic letter that looks like "
     "'e': to the daemon it is another word; the daemon ignores 's\xD0\xB5nsor', and ends because "
     "'sensor' is missing (write 'sensor')"},
    {"look-alike-character/bad-dash", ".conf:9:10: error: \xE2\x80\x93: '\xE2\x80\x93"
                                      "1000' holds U+2013, a dash that looks like '-': to the "
                                      "daemon it is another word; the daemon reads '\xE2\x80\x93"
                                      "1000' as 0 (write '-1000')"},
    {"look-alike-character/bad-digits",
     ".conf:6:16: error: \xEF\xBC\x95: "
     "'\xEF\xBC\x95\xEF\xBC\x97\xEF\xBC\x90\xEF\xBC\x90\xEF\xBC\x90' holds U+FF15, a full-width "
     "character that looks like '5': to the daemon it is another word; the daemon reads "
     "'\xEF\xBC\x95\xEF\xBC\x97\xEF\xBC\x90\xEF\xBC\x90\xEF\xBC\x90' as 0 (write '57000')"},
    {"look-alike-character/bad-header",
     ".env:6:3: error: \xD0\xB0: '[b\xD0\xB0ttery]' holds U+0430, a Cyrillic letter that looks "
     "like 'a': to the daemon it is another word (write '[battery]')"},
    {"look-alike-character/bad-no-break-space",
     ".conf:5:11: error: \xC2\xA0: 'thresholds<U+00A0>60000' holds U+00A0, a space that separates "
     "no words: to the daemon it is another word; the daemon ignores 'thresholds\xC2\xA0"
     "60000', and ends because 'thresholds' is missing (write 'thresholds 60000')"},
    {"look-alike-character/bad-quotes",
     ".env:9:13: error: \xE2\x80\x9C: '\xE2\x80\x9C"
     "20\xE2\x80\x9D' holds U+201C, a sign that looks like '\"': to the daemon it is another word; "
     "'\xE2\x80\x9C"
     "20\xE2\x80\x9D' is no whole number: the daemon writes 0 for it (write '\"20\"')"},
    {"look-alike-character/bad-zero-width-space",
     ".conf:4:9: error: \xE2\x80\x8B: 'c<U+200B>pu' holds U+200B, an invisible character: to the "
     "daemon it is another word; the daemon finds no sensor 'c\xE2\x80\x8Bpu' on the board, and "
     "ends because 'sensor' is missing (write 'cpu')"},
    {"lowactive-not-true/bad",
     ".conf:9:11: error: True: the daemon takes 'True' for false, and the item acts on heat (write "
     "'lowactive true', or take the line out)"},
    {"missing-property/bad",
     ".conf:2:1: error: [cpu_fan]: the daemon ends: 'cpu_fan' lacks 'thresholds_clr'"},
    {"missing-property/bad-several", ".conf:2:1: error: [cpu_step]: the daemon ends: 'cpu_step' "
                                     "lacks 'set_point' and 'set_point_clr'"},
    {"negative-level/bad", ".conf:8:13: error: -1: the daemon takes this for level 0"},
    {"negative-time-tick-trigger/bad",
     ".conf:9:19: warning: -1: the daemon counts up to 4294967295 decisions before it adds a level "
     "(take the line out: without it no level is added)"},
    {"no-default-scenario/bad",
     ".conf:1:1: warning: [cpu_fan]: the daemon starts in 'Default', but no line here makes that a "
     "name: it complains once a second, and no request leads back there (write 'SCEN Default' "
     "directly above the first item that shall run from the start)"},
    {"no-item-line/bad", ".conf:1:1: error: #: the daemon ends: a comment stands where an item, "
                         "'SCEN' or ']' must begin (there are no comments: take the line out)"},
    {"no-item-line/bad-inside",
     ".conf:8:1: error: actions: the daemon ends: 'actions' stands outside of any item, behind the "
     "blank line or the ']' that ended the last one (take out the blank line or the ']' above)"},
    {"no-item-line/bad-junk", ".conf:1:1: error: fan: the daemon ends: 'fan' stands where an item, "
                              "'SCEN' or ']' must begin (write an item's name in brackets: [fan])"},
    {"no-item-line/bad-key", ".conf:10:1: error: sampling: the daemon ends: 'sampling' stands "
                             "outside of any item, behind the blank line or the ']' that ended the "
                             "last one (take out the blank line or the ']' above)"},
    {"no-item-line/bad-scen", ".conf:1:1: error: Scen: the daemon ends: 'Scen' stands where an "
                              "item, 'SCEN' or ']' must begin (did you mean 'SCEN'?)"},
    {"no-type-line/bad",
     ".conf:3:1: error: sensor: the daemon ends: 'sensor' follows the header of 'cpu_fan', and "
     "'algo_type' must (write 'algo_type monitor' or 'algo_type ss' directly below the header)"},
    {"no-type-line/bad-blank",
     ".conf:2:1: error: [cpu_fan]: the daemon ends: a blank line follows the header of 'cpu_fan', "
     "and 'algo_type' must (take out the blank line below the header)"},
    {"no-type-line/bad-end",
     ".conf:10:1: error: [b]: the daemon ends: the end of the file follows the header of 'b', and "
     "'algo_type' must (write 'algo_type monitor' or 'algo_type ss' directly below the header)"},
    {"no-type-line/bad-slip",
     ".conf:3:1: error: alog_type: the daemon ends: 'alog_type' follows the header of 'cpu_fan', "
     "and 'algo_type' must (did you mean 'algo_type'?)"},
    {"node-path-missing/bad",
     ".env:6:1: error: [battery]: no node: the sensor reads 0 forever, and nothing that watches it "
     "ever acts (write 'node_path' and the path of the node)"},
    {"node-path-missing/bad-alone",
     ".env:8:1: error: node_path: no node: what the daemon writes to this device goes nowhere "
     "(write 'node_path' and the path of the node)"},
    {"node-path-relative/bad",
     ".env:4:11: warning: sys/devices/platform/tmu/cpu: a path without \"/\" at its beginning: the "
     "daemon looks for the node wherever it was started (write the whole path)"},
    {"period-below-sensors/bad",
     ".conf:9:10: warning: 500: the daemon decides every 500 ms on the temperature of 'cpu', which "
     "is read every 1000 ms (write 'sampling 1000')"},
    {"report-in-several-levels/bad",
     ".conf:7:17: warning: alarm: the daemon reports anew whenever the item moves from one level "
     "to another (give the report an item of its own with one threshold)"},
    {"nothing-in-force/bad",
     ".conf:1:6: error: default: the daemon starts in 'Default', to which no item belongs: none is "
     "in force, and no device is driven (did you mean 'Default'?)"},
    {"nothing-in-force/bad-other",
     ".conf:1:1: error: SCEN: the daemon starts in 'Default', to which no item belongs: none is in "
     "force, and no device is driven (write 'SCEN Default' directly above the first item that "
     "shall run from the start)"},
    {"temperature-cut-short/bad",
     ".conf:5:18: error: 70,000: the daemon reads '70,000' as 70: the item is always on (write "
     "thousandths of a degree in digits alone, such as 42000 for 42 °C)"},
    {"temperature-cut-short/bad-clearing",
     ".conf:6:16: error: 57C: the daemon reads '57C' as 57: the item never lets go (write "
     "thousandths of a degree in digits alone, such as 42000 for 42 °C)"},
    {"temperature-cut-short/bad-setpoint",
     ".conf:6:11: error: 0x60000: the daemon reads '0x60000' as 0, and ends because 'set_point' is "
     "missing (write thousandths of a degree in digits alone, such as 42000 for 42 °C)"},
    {"report-level/bad", ".conf:16:13: error: 2: the daemon reports nothing at level 1 (write 1)"},
    {"report-level/bad-zero",
     ".conf:16:13: error: 0: the daemon reports that all is well at level 1 (write 1)"},
    {"retired-scenario-name/bad",
     ".conf:10:6: error: OLDSCEN_game: the next configuration swap throws all items of this "
     "scenario away: \"OLDSCEN_\" marks what is to go (choose another name)"},
    {"row-lengths-differ/bad",
     ".conf:8:17: error: 2: level 2 names 2 devices and gives 1 level: the daemon does not drive "
     "the last ones (write one level for each device, joined by '+')"},
    {"row-lengths-differ/bad-more",
     ".conf:8:13: error: 1+1+1: level 1 names 2 devices and gives 3 levels: the daemon ignores the "
     "last ones (write one level for each device, joined by '+')"},
    {"row-without-level/bad", ".conf:7:17: warning: fan: the daemon never comes to this row: no "
                              "threshold leads to level 3 (write a threshold for each row)"},
    {"row-without-level/bad-info", ".conf:8:17: warning: 3: the daemon never comes to this row: no "
                                   "threshold leads to level 3 (write a threshold for each row)"},
    {"sampling-not-a-number/bad",
     ".env:3:10: warning: 250ms: '250ms' is no whole number: the daemon reads 250 (write the "
     "period in milliseconds, in digits alone)"},
    {"sampling-not-a-number/bad-alone",
     ".env:3:1: warning: sampling: no value behind 'sampling': the daemon reads 0 (write the "
     "period in milliseconds, in digits alone)"},
    {"sampling-not-a-number/bad-too-large",
     ".env:3:10: warning: 4294967546: '4294967546' is beyond 32 bits: the daemon reads 250 (write "
     "the period in milliseconds, in digits alone)"},
    {"sampling-not-positive/bad", ".env:3:10: warning: 0: a period of 0 ms: the daemon samples the "
                                  "sensor every millisecond (write the period in milliseconds)"},
    {"sampling-not-positive/bad-negative",
     ".env:3:10: warning: -250: a period of -250 ms: the daemon samples the sensor every "
     "millisecond (write the period in milliseconds)"},
    {"sampling-too-short/bad", ".env:3:10: warning: 49: the daemon wakes the processor every 49 ms "
                               "for this sensor and wastes power (250 is short for a temperature)"},
    {"scenario-not-closed/bad",
     ".conf:18:1: warning: ]: this ends item 'game_fan' and not scenario 'game', to which 'b' "
     "belongs as well (end the item with a blank line, and the scenario with a 'SCEN' line)"},
    {"scenario-without-item/bad",
     ".conf:1:6: error: Default: the daemon ends: a blank line follows a 'SCEN' line, and an item "
     "must (take out the blank line below 'SCEN')"},
    {"scenario-without-item/bad-bracket",
     ".conf:2:1: error: ]: the daemon ends: ']' follows a 'SCEN' line, and an item must (write an "
     "item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-end",
     ".conf:10:6: error: game: the daemon ends: the end of the file follows a 'SCEN' line, and an "
     "item must (write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-key",
     ".conf:2:1: error: algo_type: the daemon ends: 'algo_type' follows a 'SCEN' line, and an item "
     "must (write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-item/bad-twice",
     ".conf:2:1: error: SCEN: the daemon ends: 'SCEN' follows a 'SCEN' line, and an item must "
     "(write an item directly below 'SCEN', or take 'SCEN' out)"},
    {"scenario-without-name/bad",
     ".conf:10:1: error: SCEN: the daemon calls this scenario 'SCEN', for want of a name behind "
     "the word (write the scenario's name behind 'SCEN')"},
    {"section-key-misspelt/bad", ".env:9:1: error: nodepath: unknown key 'nodepath': the daemon "
                                 "ignores the line (did you mean 'node_path'?)"},
    {"section-key-misspelt/bad-capital", ".env:8:1: error: Sampling: unknown key 'Sampling': the "
                                         "daemon ignores the line (did you mean 'sampling'?)"},
    {"section-key-of-other-kind/bad",
     ".env:5:1: warning: set_point: 'set_point' means nothing in a section of kind 'real': the "
     "daemon ignores the line (its keys are 'sampling' and 'node_path')"},
    {"section-key-repeated/bad",
     ".env:5:1: warning: sampling: the key stands in line 3, too: the daemon takes the last one"},
    {"section-key-repeated/bad-list", ".env:19:1: warning: weights: the key stands in line 18, "
                                      "too: the daemon appends these values to those"},
    {"section-key-unknown/bad",
     ".env:5:1: warning: vendor: unknown key 'vendor': the daemon ignores the line (the keys of a "
     "section of kind 'real' are 'sampling' and 'node_path')"},
    {"section-kind-missing/bad",
     ".env:7:1: error: type: no kind behind 'type': the daemon drops the section without a word "
     "(the kinds are 'real', 'virtual', 'conf_file', 'camera', 'report', 'charger', 'cpufreq', "
     "'gpufreq', 'backlight' and 'cpuhotplug')"},
    {"section-kind-unknown/bad", ".env:7:6: error: cpu_freq: unknown kind 'cpu_freq': the daemon "
                                 "drops the section without a word (did you mean 'cpufreq'?)"},
    {"section-kind-wrong-case/bad",
     ".env:7:6: error: Real: the daemon knows the kind 'real' in small letters alone and drops the "
     "section without a word (did you mean 'real'?)"},
    {"section-kind-wrong-case/bad-with-items",
     ".env:2:6: error: Real: the daemon knows the kind 'real' in small letters alone and drops the "
     "section without a word; 2 items depend on it, and the daemon ends (did you mean 'real'?)"},
    {"section-value-not-a-number/bad",
     ".env:15:11: warning: 30.5k: '30.5k' is no whole number: the daemon reads 30"},
    {"section-value-not-a-number/bad-alone",
     ".env:19:1: warning: math: no value behind 'math': the daemon reads 0"},
    {"section-value-not-a-number/bad-list",
     ".env:18:9: warning: 70.5: '70.5' is no whole number: the daemon reads 70"},
    {"section-words-ignored/bad", ".env:3:14: warning: ms: the daemon takes one word behind "
                                  "'sampling' and ignores the rest of the line"},
    {"section-words-ignored/bad-header",
     ".env:6:11: warning: pack: the daemon ignores what stands behind '[battery]' (take it out)"},
    {"section-words-ignored/bad-kind",
     ".env:7:11: warning: #: the daemon ignores what stands behind 'real' (take it out)"},
    {"section-words-ignored/bad-path",
     ".env:9:36: warning: battery/temp: the daemon takes one word behind 'node_path' and ignores "
     "the rest of the line (a path cannot hold white space)"},
    {"sections-merged/bad",
     ".env:5:1: error: [battery]: no blank line above this header: the daemon takes it for an "
     "unknown key and the lines below it for those of 'cpu' (put a blank line above it)"},
    {"sections-merged/bad-with-items",
     ".env:5:1: error: [fan]: no blank line above this header: the daemon takes it for an unknown "
     "key and the lines below it for those of 'cpu'; 2 items depend on it (put a blank line above "
     "it)"},
    {"sensor-name-repeated/bad",
     ".env:6:1: error: [cpu]: 'cpu' is defined in line 1, too: the daemon goes on sampling that "
     "sensor, but the name now means this one"},
    {"sensor-unwatched/bad",
     ".conf:10:6: warning: game: while 'game' is in force no item watches 'gpu' (scenarios share "
     "nothing: repeat the item of 'Default' under another name)"},
    {"set-point-order/bad",
     ".conf:7:15: error: 60001: the daemon wakes the item and stops it again at once while the "
     "temperature is below 60001 (write a value below 60000)"},
    {"set-point-order/bad-cold",
     ".conf:7:15: error: 57000: the daemon wakes the item and stops it again at once while the "
     "temperature is above 57000 (write a value above 60000)"},
    {"set-point-zero/bad",
     ".conf:6:11: error: 0: the daemon takes 0 for no value, and ends because 'set_point' is "
     "missing (write 1: a thousandth of a degree more)"},
    {"set-point-zero/bad-clearing",
     ".conf:7:15: error: 0: the daemon takes 0 for no value, and ends because 'set_point_clr' is "
     "missing (write 1: a thousandth of a degree more)"},
    {"ss-on-report/bad", ".conf:13:8: error: alarm: the daemon asks this device for levels, and a "
                         "report has none (give the report a monitor with one threshold)"},
    {"start-level-below-1/bad",
     ".conf:2:1: warning: [cpu_step]: when it has cooled down to the set point again the daemon "
     "asks for the last level, 4 (write 'start_level 1')"},
    {"start-level-below-1/bad-negative", ".conf:8:13: warning: -3: in its first steps the daemon "
                                         "asks for the last level, 4 (write 'start_level 1')"},
    {"start-level-below-1/bad-zero",
     ".conf:8:13: warning: 0: when it has cooled down to the set point again the daemon asks for "
     "the last level, 4 (write 'start_level 1')"},
    {"start-level-past-table/bad", ".conf:8:13: error: 5: from the first step on the daemon asks "
                                   "for level 4, the last in the table of 'fan'"},
    {"stray-plus/bad",
     ".conf:7:13: error: +: the daemon takes this word for the row of one level, with nothing on "
     "one side of '+' (write the names of a row without a space: a+b)"},
    {"thresholds-order/bad", ".conf:5:18: error: 60000: the daemon never stops at the level before "
                             "this one: its threshold is not above the one before (write the list "
                             "ascending, or 'lowactive true' if the item is to act on cold)"},
    {"thresholds-order/bad-clearing", ".conf:6:22: error: 56000: on the way down the daemon leaves "
                                      "out the level before this one (write the list ascending)"},
    {"thresholds-order/bad-cold",
     ".conf:5:14: error: 10000: the daemon never stops at the level before this one: its threshold "
     "is not below the one before (write the list descending: the item acts on cold)"},
    {"thresholds-order/bad-equal",
     ".conf:5:18: error: 70000: the daemon never stops at the level before this one: its threshold "
     "is not above the one before (write the list ascending)"},
    {"trip-sensor-missing/bad",
     ".env:11:1: error: [skin]: no 'trip_sensor': the daemon never switches the sensor on (write "
     "'trip_sensor' and the name of a real sensor)"},
    {"trip-sensor-not-real/bad",
     ".env:23:13: error: skin: 'skin' is no real sensor, and only those switch others: the daemon "
     "never switches this one on (name a real sensor)"},
    {"trip-sensor-shared/bad",
     ".env:23:13: warning: battery: 'battery' switches 'skin', too, at 30000 and not at 32000: "
     "while only some of its sensors are on the daemon switches them off again, and one that is "
     "off keeps its last temperature, with all that watches it (write 'set_point 30000' for all of "
     "them: they go on together and stay on)"},
    {"trip-sensor-undefined/bad",
     ".env:14:13: error: batery: no section above defines the sensor 'batery': the daemon never "
     "switches this one on (did you mean 'battery'?)"},
    {"trip-sensor-undefined/bad-alone", ".env:14:1: error: trip_sensor: no name behind "
                                        "'trip_sensor': the daemon never switches the sensor on"},
    {"trip-sensor-undefined/bad-device",
     ".env:19:13: error: big: no section above defines the sensor 'big': the daemon never switches "
     "this one on (the section 'big' in line 11 is no sensor)"},
    {"type-line-missing/bad",
     ".env:7:1: error: sampling: 'sampling' stands where 'type' is expected: the daemon stops "
     "reading the file here, without a word (put the 'type' line directly below the header)"},
    {"type-line-missing/bad-at-the-end",
     ".env:6:1: error: [battery]: no 'type' line directly below the header: the daemon stops "
     "reading the file here, without a word (put the 'type' line there, without a blank line "
     "between)"},
    {"type-line-missing/bad-blank-line",
     ".env:6:1: error: [battery]: no 'type' line directly below the header: the daemon stops "
     "reading the file here, without a word (put the 'type' line there, without a blank line "
     "between)"},
    {"type-line-missing/bad-misspelt",
     ".env:7:1: error: Type: 'Type' stands where 'type' is expected: the daemon stops reading the "
     "file here, without a word (did you mean 'type'?)"},
    {"unknown-device/bad", ".conf:7:13: error: fann: the daemon finds no device 'fann' on the "
                           "board and drives nothing in its place (did you mean 'fan'?)"},
    {"unknown-device/bad-ss", ".conf:5:8: error: fann: the daemon finds no device 'fann' on the "
                              "board, and ends because 'device' is missing (did you mean 'fan'?)"},
    {"unknown-sensor/bad", ".conf:4:8: error: cpuu: the daemon finds no sensor 'cpuu' on the "
                           "board, and ends because 'sensor' is missing (did you mean 'cpu'?)"},
    {"unknown-sensor/bad-device",
     ".conf:4:8: error: fan: the daemon finds no sensor 'fan' on the board, and ends because "
     "'sensor' is missing ('fan' is no sensor)"},
    {"unknown-sensor/bad-twice",
     ".conf:4:8: error: cpu0: the daemon finds no sensor 'cpu0' on the board, and ends because "
     "'sensor' is missing; 2 items depend on it (did you mean 'cpu'?)"},
    {"unknown-type/bad",
     ".conf:3:11: error: SS: the daemon ends: 'SS' is no kind of item (did you mean 'ss'?)"},
    {"unknown-type/bad-none",
     ".conf:3:1: error: algo_type: the daemon ends: no kind of item stands behind 'algo_type' "
     "(write 'algo_type monitor' or 'algo_type ss')"},
    {"unknown-type/bad-other", ".conf:3:11: error: pid: the daemon ends: 'pid' is no kind of item "
                               "(write 'algo_type monitor' or 'algo_type ss')"},
    {"unknown-type/bad-slip", ".conf:3:11: error: montior: the daemon ends: 'montior' is no kind "
                              "of item (did you mean 'monitor'?)"},
    {"unused-device/bad",
     ".env:11:1: warning: [pump]: the daemon never drives 'pump': no item names it"},
    {"unused-device/bad-several", ".env:11:1: warning: [pump]: the daemon never drives 'pump', "
                                  "'valve' and 'belt': no item names them"},
    {"unused-sensor/bad",
     ".env:11:1: warning: [gpu]: the daemon samples 'gpu' for nothing: no item watches it"},
    {"unused-sensor/bad-several", ".env:11:1: warning: [gpu]: the daemon samples 'gpu' and 'npu' "
                                  "for nothing: no item watches them"},
    {"virtual-math-ignored/bad",
     ".env:19:6: warning: 1: there is one formula only: the daemon does not look at 'math'"},
    {"virtual-period-alone/bad",
     ".env:13:10: error: 500: no real sensor has the period of 500 ms: while this sensor is "
     "switched off its worker sleeps, and every change of the scenario or the configuration waits "
     "for it (give it the period of a real sensor)"},
    {"virtual-set-point-in-degrees/bad",
     ".env:16:15: warning: 28: 28 is 28 thousandths of a degree (did you mean '28000'?)"},
    {"virtual-set-points-reversed/bad",
     ".env:16:15: warning: 30001: 'set_point_clr' 30001 lies above 'set_point' 30000: once the "
     "daemon has switched the sensor on it stays on, and 'set_point_clr' is never looked at "
     "('set_point_clr' belongs a few degrees below 'set_point')"},
    {"virtual-set-points-reversed/bad-shared",
     ".env:16:15: warning: 30001: 'set_point_clr' 30001 lies above 'set_point' 30000: between the "
     "two the daemon switches the sensor on and off with each sample, as long as another of the "
     "same trip sensor is off ('set_point_clr' belongs a few degrees below 'set_point')"},
    {"virtual-set-points-reversed/bad-without-set-point",
     ".env:15:15: warning: 28000: 'set_point_clr' 28000 lies above 'set_point' 0: once the daemon "
     "has switched the sensor on it stays on, and 'set_point_clr' is never looked at "
     "('set_point_clr' belongs a few degrees below 'set_point')"},
    {"virtual-source-missing/bad", ".env:11:1: error: [skin]: no sources: the sensor never tells a "
                                   "temperature (write 'sensors' and their names)"},
    {"virtual-source-missing/bad-alone", ".env:17:1: error: sensors: no sources: the sensor never "
                                         "tells a temperature (write 'sensors' and their names)"},
    {"virtual-source-not-real/bad",
     ".env:26:17: warning: skin: 'skin' is no real sensor: while its trip sensor has it switched "
     "off it stands still, and the daemon goes on adding its last value (name the real sensors "
     "that it combines)"},
    {"virtual-source-undefined/bad",
     ".env:17:17: error: cpu0: no section above defines the sensor 'cpu0': the daemon leaves this "
     "source out of the sum but keeps its weight (did you mean 'cpu'?)"},
    {"virtual-source-undefined/bad-below",
     ".env:12:17: error: cpu: no section above defines the sensor 'cpu': the daemon leaves this "
     "source out of the sum but keeps its weight ('cpu' is defined in line 15; move that section "
     "up, above this one)"},
    {"virtual-weights-gain/bad",
     ".env:18:9: warning: 7: the weights sum to 20, and the daemon adds the sensor's last value "
     "before it divides by that: it settles at 1.05 times the weighted mean of its sources "
     "(multiply all weights, and the offsets, by a number such as 100)"},
    {"virtual-weights-gain/bad-negative",
     ".env:18:9: warning: -7: the weights sum to -18, and the daemon adds the sensor's last value "
     "before it divides by that: it settles at 0.947 times the weighted mean of its sources "
     "(multiply all weights, and the offsets, by a number such as 100)"},
    {"virtual-weights-number/bad",
     ".env:18:9: error: 70: 1 weight(s) for 2 source(s): the daemon leaves the last sources out "
     "(write one weight for each name of 'sensors')"},
    {"virtual-weights-number/bad-more",
     ".env:18:9: error: 70: 3 weight(s) for 2 source(s): the daemon divides by the sum of all "
     "weights all the same (write one weight for each name of 'sensors')"},
    {"virtual-weights-sum-one/bad",
     ".env:18:9: error: 3: the weights sum to 1: the daemon adds the sensor's last value each "
     "time, so that it grows without end (multiply all weights, and the offsets, by a number such "
     "as 100)"},
    {"virtual-weights-sum-one/bad-minus-one",
     ".env:18:9: error: -3: the weights sum to -1: the daemon adds the sensor's last value each "
     "time, so that it swings to and fro (multiply all weights, and the offsets, by a number such "
     "as 100)"},
    {"virtual-weights-sum-zero/bad", ".env:18:9: error: 70: the weights sum to 0, by which the "
                                     "daemon does not divide: the sensor reads 0 forever"},
    {"virtual-weights-sum-zero/bad-without",
     ".env:11:1: error: [skin]: no weights: the sensor reads 0 forever (write 'weights', one for "
     "each source)"},
    {"words-ignored/bad", ".conf:6:17: warning: below: the daemon takes one word for 'set_point' "
                          "and ignores the others (take them out, or join the words)"},
    {"words-ignored/bad-header",
     ".conf:2:11: warning: the: the daemon ignores what stands behind '[cpu_fan]' (take it out)"},
    {"words-ignored/bad-scenario",
     ".conf:10:11: warning: mode: the daemon ignores what stands behind 'game' (take it out)"},
    {"words-ignored/bad-type",
     ".conf:3:19: warning: #: the daemon ignores what stands behind 'monitor' (take it out)"},
    {"wrong-kind-of-file/bad",
     ".env:1:1: error: SCEN: this is a configuration; did you swap --env and --conf?"},
    {"wrong-kind-of-file/bad-binary",
     ".env:1:5: error: \x02: this is a binary file and no text (name the file that was meant)"},
    {"wrong-kind-of-file/bad-byte-order-mark",
     ".env:1:1: error: \xEF\xBB\xBF: the file begins with U+FEFF, a byte order mark, which the "
     "daemon takes for a part of the first word (save the file as UTF-8 without a byte order "
     "mark)"},
    {"wrong-kind-of-file/bad-byte-order-mark-conf",
     ".conf:1:1: error: \xEF\xBB\xBF: the daemon ends: the file begins with U+FEFF, a byte order "
     "mark, which the daemon takes for a part of the first word (save the file as UTF-8 without a "
     "byte order mark)"},
    {"wrong-kind-of-file/bad-carriage-returns",
     ".env:1:6: error: \x0D: the lines end with carriage returns alone, and to the daemon all of "
     "them are one line (save the file with line feeds at the ends of its lines)"},
    {"wrong-kind-of-file/bad-carriage-returns-conf",
     ".conf:1:13: error: \x0D: the daemon ends: the lines end with carriage returns alone, and to "
     "the daemon all of them are one line (save the file with line feeds at the ends of its "
     "lines)"},
    {"wrong-kind-of-file/bad-commas-conf",
     ".conf:1:5: error: ,: the daemon ends: these are the cells of a spreadsheet, and the daemon "
     "takes ',' for a part of a word (put blanks between the words, and blank lines between the "
     "blocks)"},
    {"wrong-kind-of-file/bad-conf", ".conf:2:1: error: type: the daemon ends: this is an "
                                    "environment file; did you swap --env and --conf?"},
    {"wrong-kind-of-file/bad-empty",
     ".env:1:1: error: $: the file is empty: the daemon finds no sensor and no device here (write "
     "the board's sections, or name the file that was meant)"},
    {"wrong-kind-of-file/bad-semicolons",
     ".env:1:6: error: ;: these are the cells of a spreadsheet, and the daemon takes ';' for a "
     "part of a word (put blanks between the words, and blank lines between the blocks)"},
    {"wrong-kind-of-file/bad-semicolons-conf",
     ".conf:1:5: error: ;: the daemon ends: these are the cells of a spreadsheet, and the daemon "
     "takes ';' for a part of a word (put blanks between the words, and blank lines between the "
     "blocks)"},
    {"wrong-kind-of-file/bad-utf16",
     ".env:1:1: error: \xFF: this is UTF-16, with two bytes for each character, and the daemon "
     "takes each byte for one (save the file as UTF-8)"},
    {"wrong-kind-of-file/bad-utf16-big-endian",
     ".env:1:1: error: \xFE: this is UTF-16, with two bytes for each character, and the daemon "
     "takes each byte for one (save the file as UTF-8)"},
    {"wrong-kind-of-file/bad-utf16-conf",
     ".conf:1:1: error: \xFF: the daemon ends: this is UTF-16, with two bytes for each character, "
     "and the daemon takes each byte for one (save the file as UTF-8)"},
};

std::string ruleOf(const std::string& example) {
  return example.substr(0, example.find('/'));
}

bool isGood(const std::string& example) {
  return example.find("/good") != std::string::npos;
}

std::string markedBy(const Finding& finding) {
  std::istringstream text(exampleText(finding.file));
  std::string line;
  for (int i = 0; i < finding.at.line; ++i)
    std::getline(text, line);
  std::string marked = line.substr(static_cast<size_t>(finding.at.column) - 1, finding.length);
  marked.resize(finding.length, '$');
  return marked;
}

// What each finding says, in the form of `kMistakes`, behind the name of its rule.
Lines saidAbout(const std::string& example) {
  Lines said;
  for (const Finding& finding : findingsOf(example))
    said.push_back(finding.rule + " " + finding.file.substr(finding.file.rfind('.')) + ":" +
                   std::to_string(finding.at.line) + ":" + std::to_string(finding.at.column) +
                   ": " + nameOf(finding.severity) + ": " + markedBy(finding) + ": " +
                   finding.message + (finding.hint.empty() ? "" : " (" + finding.hint + ")"));
  return said;
}

// Those of the rules that need no nodes and no settings and have no example of their own, but for
// the one about what the others have no words for.
std::set<std::string> rulesWithExamples() {
  std::set<std::string> names;
  for (const Rule& rule : allRules())
    if (std::string(rule.explanation).rfind("With --nodes:", 0) != 0 && rule.example.bad.empty())
      names.insert(rule.name);
  names.erase("ends-the-daemon");
  for (const Rule& rule : kSettingsRules)
    names.erase(rule.name);
  return names;
}

TEST(ExamplesTest, EachRuleReportsItsMistakeInItsWordsAndNoneReportsAnother) {
  for (const auto& [example, said] : kMistakes)
    EXPECT_EQ(saidAbout(example), Lines{ruleOf(example) + " " + said}) << example;
}

TEST(ExamplesTest, NoRuleReportsACloseTextWithoutTheMistake) {
  for (const std::string& example : allExamples())
    if (isGood(example)) {
      EXPECT_EQ(saidAbout(example), Lines{}) << example;
    }
}

TEST(ExamplesTest, EachRuleHasATextWithItsMistakeAndACloseOneWithout) {
  std::set<std::string> bad;
  std::set<std::string> good;
  for (const std::string& example : allExamples()) {
    (isGood(example) ? good : bad).insert(ruleOf(example));
    EXPECT_NE(isGood(example), kMistakes.count(example) > 0) << example;
  }
  EXPECT_EQ(bad, rulesWithExamples());
  EXPECT_EQ(good, rulesWithExamples());
}

} // namespace
