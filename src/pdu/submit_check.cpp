// SPDX-License-Identifier: GPL-3.0-or-later
#include "pdu/submit_check.h"

#include "common/text_convert.h"
#include "pdu/text_measure.h"

namespace {

bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// `what` names the field in the reason ("the number", "the service centre").
TransferError CheckAddress(std::u16string_view text, bool emptyAllowed, const char* what,
                           const char* verb, std::string* reason) {
    const std::size_t start = !text.empty() && text[0] == u'+' ? 1 : 0;
    const std::u16string_view digits = text.substr(start);
    if (digits.empty()) {
        if (emptyAllowed) return kErrNone;
        if (reason != nullptr) {
            *reason =
                std::string(what) + (start == 0 ? " is empty" : " is a lone \"+\" without digits");
        }
        return kErrInvalidParameter;
    }
    for (const char16_t c : digits) {
        if (IsDigit(c)) continue;
        if (reason != nullptr) {
            const std::string shown =
                c == 0 ? std::string("\\0") : Utf16ToUtf8(std::u16string(1, c));
            *reason = std::string(what) + " holds \"" + shown +
                      "\"; only the digits 0 to 9, after one leading \"+\", can be " + verb;
        }
        return kErrInvalidParameter;
    }
    if (digits.size() > kMaxNumberDigits) {
        if (reason != nullptr) {
            *reason = std::string(what) + " has " + std::to_string(digits.size()) +
                      " digits; at most " + std::to_string(kMaxNumberDigits) + " can be " + verb;
        }
        return kErrInvalidParameter;
    }
    return kErrNone;
}

}  // namespace

TransferError ValidateRecipient(std::u16string_view number, std::string* reason) {
    return CheckAddress(number, false, "the number", "sent", reason);
}

TransferError ValidateServiceCentre(std::u16string_view centre, std::string* reason) {
    return CheckAddress(centre, true, "the service centre", "used", reason);
}

TransferError ValidateMessageText(std::u16string_view text, std::string* reason) {
    if (text.size() <= kMaxSubmitTextLength) return kErrNone;
    if (reason != nullptr) {
        *reason = "the text has " + std::to_string(text.size()) +
                  " characters as it would be sent (the carriage returns of its line breaks "
                  "count); at most " +
                  std::to_string(kMaxSubmitTextLength) + " fit in one message";
    }
    return kErrInvalidParameter;
}

TransferError ValidateMessageText(std::u16string_view text, const CodecOptions& options,
                                  std::string* reason) {
    if (!options.unicode && !options.longSms) return ValidateMessageText(text, reason);
    const TextMeasure measure = MeasureText(text, options);
    if (!measure.tooLong) return kErrNone;
    if (reason != nullptr) {
        const bool ucs2 = measure.encoding == TextEncoding::kUcs2;
        const std::string units = ucs2 ? " UCS2 characters" : " septets";
        if (options.longSms) {
            *reason = "the text needs " + std::to_string(measure.parts) + " messages (" +
                      std::to_string(measure.units) + units + "); at most " +
                      std::to_string(kMaxParts) + " can be sent as one long message";
        } else {
            *reason = "the text has " + std::to_string(measure.units) + units +
                      " as it would be sent; at most " +
                      std::to_string(ucs2 ? kSinglePartUcs2 : kSinglePartSeptets) +
                      " fit in one message";
        }
    }
    return kErrInvalidParameter;
}
