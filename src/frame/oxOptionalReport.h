// Operations fill a report the caller may not want: `report` may be null.
#pragma once

namespace ox {
namespace detail {

/// The caller's report when given, else `local`; reset to its defaults either way.
template <class Report>
Report& resetReport(Report* report, Report& local)
{
    Report& out = report ? *report : local;
    out = Report();
    return out;
}

}  // namespace detail
}  // namespace ox
