// Defaults of a file and of the observation writer's process-wide state.
#include "gnss/rinex/options.h"

double dinterval[11];
double firse_sec;
std::int32_t g_marktimecount = 1;
std::int32_t nfirstCount;
std::int32_t beRewrite = 1;
const char* const glo_codes[4] = {"C1C", "C1P", "C2C", "C2P"};

namespace {

template <typename T, std::size_t N>
void clear(T (&array)[N])
{
    std::memset(array, 0, sizeof array);
}

void reset_state()
{
    clear(dinterval);
    firse_sec = 0.0;
    g_marktimecount = 1;
    nfirstCount = 0;
    beRewrite = 1;
}

}   // namespace

int Initial_Rnx(rnx_t* opt)
{
    opt->lastweek = -1;
    opt->version = 302;
    opt->firsttow = -1.0;
    opt->lasttow = -1.0;
    opt->interval = 0.0;

    // Of these arrays only the text and its NUL are written; the next ones are cleared wholly.
    std::strcpy(opt->prog, "KORVEX");
    std::strcpy(opt->runby, "KORVEX");
    std::strcpy(opt->marker, "    ");
    std::strcpy(opt->markerno, "         ");
    std::strcpy(opt->observer, "KORVEX");
    std::strcpy(opt->agency, "KORVEX");

    clear(opt->rectype);
    clear(opt->recno);
    clear(opt->recver);
    clear(opt->antno);
    clear(opt->anttype);
    std::strcpy(opt->anttype, "ADVNULLANTENNA  NONE");
    clear(opt->antext);
    clear(opt->apppos);
    clear(opt->antdel);

    opt->sys_gps = opt->sys_glo = opt->sys_bds = opt->sys_gal = opt->sys_sbs = 1;
    reset_state();
    return 1;
}
