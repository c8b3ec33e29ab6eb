// SPDX-License-Identifier: GPL-3.0-or-later
// The general commands that a GSM 07.07 client sends before it touches a message: is the phone
// switched on, is the SIM unlocked, is there a network, who made the phone, which SIM is in it,
// and how errors are to be reported. The simulated phone is always a ready phone: fully on, no
// PIN asked, registered to its home network with a fair signal.
#include "at_syntax.h"
#include "phone_model.h"

namespace phone_sim {
namespace {

// Identity of the simulated phone and its SIM.
constexpr char kManufacturer[] = "Velkan";
constexpr char kModel[] = "Phone simulator";
constexpr char kRevision[] = "1.0";
constexpr char kImei[] = "490154203237518";
constexpr char kImsi[] = "262019876543210";
// Received signal strength 24 (-65 dBm), bit error rate not known.
constexpr char kSignal[] = "+CSQ: 24,99";
// Registered to the home network; location area and cell as AT+CREG=2 reports them.
constexpr unsigned kRegisteredHome = 1;
constexpr char kLocationArea[] = "\"00C3\"";
constexpr char kCell[] = "\"1A2B\"";

const char* CmeText(int code) {
    switch (code) {
        case kCmeNotAllowed:
            return "operation not allowed";
        case kCmeNotSupported:
            return "operation not supported";
        case kCmeBadParameters:
            return "incorrect parameters";
        default:
            return "unknown";
    }
}

}  // namespace

PhoneModel::Result PhoneModel::MeError(int code) const {
    if (errorMode_ == 0) return {Final::kError, 0};
    return {Final::kCme, code, errorMode_ == 2 ? CmeText(code) : nullptr};
}

void PhoneModel::ResetReporting() {
    errorMode_ = 0;
    registrationMode_ = 0;
    smsService_ = 0;
    indications_ = Indications{};
    bufferedIndications_.clear();
}

bool PhoneModel::ExecuteStatus(std::string_view name, std::string_view rest,
                               std::vector<std::string>* info, Result* result) {
    const bool bare = rest.empty();
    const bool query = rest == "?";
    const bool test = rest == "=?";
    const bool set = !bare && !query && !test;  // "=..." (anything else never gets here)
    const std::string_view args = set ? rest.substr(1) : std::string_view();
    const std::vector<std::string_view> parts = SplitOutsideQuotes(args, ',');

    // A command that only reports a value: bare it answers, "=?" says it exists.
    auto report = [&](std::string line) {
        if (bare) {
            info->push_back(std::move(line));
            *result = {};
        } else {
            *result = test ? Result{} : MeError(kCmeNotSupported);
        }
        return true;
    };

    if (name == "+CGMI" || name == "+GMI") return report(kManufacturer);
    if (name == "+CGMM" || name == "+GMM") return report(kModel);
    if (name == "+CGMR" || name == "+GMR") return report(kRevision);
    if (name == "+CGSN" || name == "+GSN") return report(kImei);
    if (name == "+CIMI") return report(kImsi);
    if (name == "+GCAP") return report("+GCAP: +CGSM");
    if (name == "+CSQ") {
        if (test) {
            info->push_back("+CSQ: (0-31,99),(0-7,99)");
            *result = {};
            return true;
        }
        return report(kSignal);
    }
    if (name == "+CFUN") {
        // Full functionality only; a restart (=1,1) leaves it as it is.
        unsigned fun = 0;
        unsigned reset = 0;
        if (query) {
            info->push_back("+CFUN: 1");
        } else if (test) {
            info->push_back("+CFUN: (1),(0-1)");
        } else if (!set || parts.size() > 2 || !ParseNumber(parts[0], &fun) ||
                   (parts.size() == 2 && (!ParseNumber(parts[1], &reset) || reset > 1))) {
            *result = MeError(kCmeBadParameters);
            return true;
        } else if (fun != 1) {
            *result = MeError(kCmeNotSupported);
            return true;
        }
        *result = {};
        return true;
    }
    if (name == "+CPIN") {
        if (query) {
            info->push_back("+CPIN: READY");
            *result = {};
        } else if (test) {
            *result = {};
        } else {
            *result = MeError(kCmeNotAllowed);  // no PIN is asked for
        }
        return true;
    }
    if (name == "+CREG") {
        unsigned n = 0;
        if (query) {
            std::string line = "+CREG: " + std::to_string(registrationMode_) + "," +
                               std::to_string(kRegisteredHome);
            if (registrationMode_ == 2) line += std::string(",") + kLocationArea + "," + kCell;
            info->push_back(line);
            *result = {};
        } else if (test) {
            info->push_back("+CREG: (0-2)");
            *result = {};
        } else if (bare || (parts.size() == 1 && ParseNumber(parts[0], &n) && n <= 2)) {
            // The registration never changes, so no "+CREG:" ever follows unasked.
            registrationMode_ = n;
            *result = {};
        } else {
            *result = MeError(kCmeBadParameters);
        }
        return true;
    }
    if (name == "+CMEE") {
        unsigned n = 0;
        if (query) {
            info->push_back("+CMEE: " + std::to_string(errorMode_));
            *result = {};
        } else if (test) {
            info->push_back("+CMEE: (0-2)");
            *result = {};
        } else if (bare || (parts.size() == 1 && ParseNumber(parts[0], &n) && n <= 2)) {
            errorMode_ = n;
            *result = {};
        } else {
            *result = MeError(kCmeBadParameters);
        }
        return true;
    }
    return false;
}

}  // namespace phone_sim
