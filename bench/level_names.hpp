#pragma once

// Level values of the generated listings: field and survey names as a West Siberian archive
// has them (Cyrillic, most too long for a string's small buffer).

namespace ostradb::bench {

inline const char* const kFields[] = {"Самотлорское", "Приобское",  "Ромашкинское", "Федоровское",
                                      "Мамонтовское", "Ванкорское", "Лянторское",   "Уренгойское"};
inline const char* const kSurveys[] = {"ГИС", "ГИС 2019", "Контроль 2020", "Перфорация", "ПГИ"};

}  // namespace ostradb::bench
