// What well files hold: their tables, curves and plansheets.

#include "client/session.hpp"
#include "ostradb/protocol/well_commands.hpp"

namespace ostradb {

std::vector<std::string> Client::tables(const std::vector<std::string>& files) {
    detail::ClientSession& s = session();
    return detail::Run(s, [&] {
        TStringList names(files);
        TStringList tables;
        s.protocol.GetTablesList(names, tables);
        return detail::TakeLines(tables);
    });
}

std::vector<std::string> Client::plansheets(const std::vector<std::string>& files) {
    detail::ClientSession& s = session();
    return detail::Run(s, [&] {
        TStringList plansheets;
        s.protocol.GetPlansheetsList(TStringList(files), plansheets);
        return detail::TakeLines(plansheets);
    });
}

std::vector<Curve> Client::curves(const std::vector<std::string>& files,
                                  const std::vector<std::string>& tables) {
    detail::ClientSession& s = session();
    return detail::Run(s, [&] {
        TCurvesListOpts options = {cloIncludeTable, cloIncludeVersion, cloIncludeCount,
                                   cloIncludeTopBottomStep, cloIncludeUnits};
        if (files.size() > 1) options.Include(cloIncludeFileNames);
        TCurvesList list;
        s.protocol.GetCurvesList(TStringList(files), TStringList(tables), options, list);
        std::vector<Curve> curves;
        for (TCurvesListItem& c : list.Items)
            curves.push_back({std::move(c.Curve), std::move(c.Table), std::move(c.Units), c.Top,
                              c.Bottom, c.Step, c.Count, std::move(c.Version),
                              std::move(c.FileName)});
        return curves;
    });
}

}  // namespace ostradb
