"""The table of what Spin searched, after the tests: it comes through when they run side by side
too."""


def pytest_terminal_summary(terminalreporter):
    rows = [dict(report.user_properties)["search"]
            for reports in terminalreporter.stats.values() for report in reports
            if getattr(report, "when", "") == "call" and "search" in dict(report.user_properties)]
    if not rows:
        return
    terminalreporter.section("Spin")
    terminalreporter.write_line(f"{'':60}{'states':>10}{'depth':>8}{'s':>7}{'MB':>7}")
    for row in sorted(rows, key=lambda row: (row["finding"] != "", row["title"])):
        terminalreporter.write_line(
            f"{row['title']:60}{row['states']:>10,}{row['depth']:>8,}{row['seconds']:>7.1f}"
            f"{row['megabytes']:>7.0f}  {row['finding']}")
    clean = [row for row in rows if not row["finding"]]
    terminalreporter.write_line(
        f"{len(clean)} searched to the end, {sum(row['states'] for row in clean):,} states; "
        f"{len(rows) - len(clean)} mistakes found; {sum(row['seconds'] for row in rows):.0f} s of "
        f"one processor with the compiler, at most {max(row['megabytes'] for row in rows):.0f} MB "
        "at a time")
