// SPDX-License-Identifier: GPL-3.0-or-later
// A phone session over a scripted phone, on a fake clock that moves 1 ms at every reading, so
// that the 3 s, 20 s and 30 s time-outs run in a few thousand loop turns.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "at/at_exchange.h"
#include "fake_clock.h"
#include "script_transport.h"

inline const std::string kOk = "\r\nOK\r\n";
inline const std::string kError = "\r\nERROR\r\n";

class AtTest : public ::testing::Test {
  public:
    // Commands as the test reads them: CR, LF and Ctrl-Z spelled out.
    static std::string Printable(const std::string& bytes) {
        std::string out;
        for (char c : bytes) {
            if (c == '\r') {
                out += "<CR>";
            } else if (c == '\n') {
                out += "<LF>";
            } else if (c == 0x1A) {
                out += "<^Z>";
            } else {
                out += c;
            }
        }
        return out;
    }

  protected:
    void SetUp() override {
        phone_.AttachClock(&clock_);
        channel_ = phone_.Connect();
        ASSERT_NE(channel_, nullptr);
        ASSERT_EQ(CreatePhoneSession(channel_, &session_), 0u);
    }
    void TearDown() override {
        EXPECT_TRUE(phone_.Unexpected().empty())
            << "first unexpected command: " << Printable(phone_.Unexpected().front());
        FreePhoneSession(session_);
        ChannelClose(channel_);
    }

    // Milliseconds from the n-th write to now.
    std::uint32_t SinceWrite(std::size_t n) const {
        return clock_.Now() - phone_.WriteTicks().at(n);
    }

    FakeClock clock_{1000, 1};
    ScriptPhone phone_;
    PhoneChannel* channel_ = nullptr;
    PhoneSession* session_ = nullptr;
};

// A cancel flag checked by the channel's poll callback, as the transfer session does.
struct CancelFlag {
    bool raised = false;
    std::uint32_t calls = 0;
};

inline TransferError CheckCancel(PhoneChannel*, void* context) {
    auto* flag = static_cast<CancelFlag*>(context);
    ++flag->calls;
    return flag->raised ? kErrCancelled : kErrNone;
}
