#include "readers/ReaderTable.h"

// clang-format off
const std::array<ReaderTableRow, 23> strReaderTable = {{
    {"DExxxCT399",      "KOBIL KAAN Professional",  "KOBIL",       1, 1, 1, 1, 10000},
    {"DEKOBCT399",      "KOBIL KAAN Professional",  "KOBIL",       1, 1, 1, 1, 10000},
    {"DExxxCT198",      "KOBIL KAAN Standard plus", "KOBIL",       1, 1, 1, 0, 15000},
    {"DExxxCT101V1.70", "KOBIL KAAN Standard plus", "KOBIL",       1, 1, 1, 0, 15000},
    {"DExxxCT199",      "KOBIL B1 S",               "KOBIL",       1, 0, 1, 0, 10000},
    {"DExxxCT101V2.06", "KOBIL B1 PCMCIA",          "KOBIL",       1, 0, 1, 0, 10000},
    {"DExxxCT199V1.63", "KOBIL B1 PCMCIA",          "KOBIL",       1, 0, 1, 0, 10000},
    {"DEUTICM   ",      "Cardman 8630",             "Utimaco",     1, 1, 1, 1, 5000},
    {"DEUTI3621 ",      "Cardman 3621",             "Utimaco",     1, 1, 1, 1, 5000},
    {"DESCTECUSB",      "cyberJack e-com",          "REINER SCT",  1, 1, 1, 1, 5000},
    {"DESCTECLPT",      "cyberJack e-com",          "REINER SCT",  1, 1, 1, 1, 5000},
    {"DESCTCJECA",      "cyberJack e-com",          "REINER SCT",  1, 1, 1, 1, 5000},
    {"DESCTPPUSB",      "cyberJack pinpad",         "REINER SCT",  1, 1, 1, 2, 5000},
    {"DESCTPPLPT",      "cyberJack pinpad",         "REINER SCT",  1, 1, 1, 2, 5000},
    {"DESCTCJPPA",      "cyberJack pinpad",         "REINER SCT",  1, 1, 1, 2, 5000},
    {"DESCTCJECP",      "cyberJack e-com plus",     "REINER SCT",  1, 1, 1, 2, 5000},
    {"DESCTCJSEC",      "cyberJack Secoder",        "REINER SCT",  1, 1, 1, 2, 5000},
    {"DESCT     ",      "cyberJack kb",             "REINER SCT",  1, 1, 1, 0, 10000},
    {"DECYMPC/SC",      "Cherry G83-67xx",          "Cherry GmbH", 1, 1, 1, 0, 5000},
    {"DESCMSCR24",      "SCM SCR241",               "SCM",         0, 0, 1, 0, 5000},
    {"DESCMSPRx3",      "SCM SPR532",               "SCM",         0, 1, 1, 0, 5000},
    {"ATSAGCT600",      "Siemens Signator",         "Siemens",     1, 1, 1, 0, 5000},
    {"",                "",                         "",            1, 1, 1, 0, 0},
}};
// clang-format on

const std::array<const char*, 2> CTAPI_Libs = {"libct.so", "libctapi.so"};
