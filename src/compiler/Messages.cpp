#include "compiler/Messages.h"

namespace {
constexpr auto kError = Diagnostic::Severity::Error;
constexpr auto kWarning = Diagnostic::Severity::Warning;

// clang-format off
constexpr Message kMessages[] = {
    { Fault::Unreadable, "unreadable", kError, nullptr },
    { Fault::Include, "include", kError, nullptr },
    { Fault::BadCharacter, "bad-character", kError, nullptr },
    { Fault::BadNumber, "bad-number", kError, nullptr },
    { Fault::UnclosedText, "unclosed-text", kError, nullptr },
    { Fault::UnclosedComment, "unclosed-comment", kError, nullptr },
    { Fault::UnclosedBracket, "unclosed-bracket", kError, nullptr },
    { Fault::Syntax, "syntax", kError, nullptr },
    { Fault::UnknownWord, "unknown-word", kError, nullptr },
    { Fault::OtherLanguage, "other-language", kError, "'%1' is no word of this language; write %2" },
    { Fault::QuotedText, "quoted-text", kError,
      "a text stands in single quotes, and double quotes hold a list of bytes; write %1" },
    { Fault::TooDeep, "too-deep", kError, nullptr },
    { Fault::UnknownName, "unknown-name", kError, nullptr },
    { Fault::UnknownFunction, "unknown-function", kError, nullptr },
    { Fault::UnknownRoutine, "unknown-routine", kError, nullptr },
    { Fault::UnknownType, "unknown-type", kError, nullptr },
    { Fault::UnknownMember, "unknown-member", kError, nullptr },
    { Fault::WrongCall, "wrong-call", kError, nullptr },
    { Fault::ArgumentCount, "argument-count", kError, nullptr },
    { Fault::ArgumentKind, "argument-kind", kWarning, "'%1' takes %2 here, not %3" },
    { Fault::WrongType, "wrong-type", kError, nullptr },
    { Fault::StepTarget, "step-target", kError, nullptr },
    { Fault::ListForm, "list-form", kError, nullptr },
    { Fault::GlobalNeeded, "global-needed", kError, nullptr },
    { Fault::DuplicateName, "duplicate-name", kError, nullptr },
    { Fault::ReservedWord, "reserved-word", kError, nullptr },
    { Fault::Definition, "definition", kError, nullptr },
    { Fault::ConstantChanged, "constant-changed", kError, nullptr },
    { Fault::ConstantValue, "constant-value", kError, nullptr },
    { Fault::InitialValue, "initial-value", kError, nullptr },
    { Fault::ArraySize, "array-size", kError, nullptr },
    { Fault::Structure, "structure", kError, nullptr },
    { Fault::DeviceAddress, "device-address", kError, nullptr },
    { Fault::DuplicateCase, "duplicate-case", kError, nullptr },
    { Fault::EmptyCase, "empty-case", kWarning,
      "this case does nothing: none falls into the next; write { } where that is meant, else repeat the body" },
    { Fault::JumpOutside, "jump-outside", kError, nullptr },
    { Fault::ForCondition, "for-condition", kError, nullptr },
    { Fault::TimelineLength, "timeline-length", kWarning,
      "the timeline is never created: it has %1 times, and '%2' holds %3" },
    { Fault::Refused, "refused", kError, nullptr },
    { Fault::Unused, "unused", kWarning, nullptr },
    { Fault::UnusedFunction, "unused-function", kWarning, "the %1 '%2' is never called" },
    { Fault::Unreachable, "unreachable", kWarning, nullptr },
    { Fault::ConstantCondition, "constant-condition", kWarning, "this condition is always %1" },
    { Fault::CapturedLocal, "captured-local", kWarning, nullptr },
    { Fault::LostResult, "lost-result", kWarning, nullptr },
    { Fault::NoResult, "no-result", kWarning, nullptr },
    { Fault::MissingReturn, "missing-return", kWarning,
      "the function '%1' can end without a result; write a return at its end" },
    { Fault::ValueRange, "value-range", kWarning, nullptr },
    { Fault::TooLong, "too-long", kWarning, "%1 has %2 %3, the array holds %4; the rest is cut off" },
    { Fault::IndexRange, "index-range", kWarning,
      "there is no element %1: the elements of '%2' are %3" },
    { Fault::ArgumentNumber, "argument-number", kWarning,
      "'%1' takes a text or an array here, not a number: it reports that and gives nothing" },
    { Fault::ZeroDivisor, "zero-divisor", kWarning, "division by 0: it is reported, and the result is 0" },
    { Fault::UnguardedOperand, "unguarded-operand", kWarning,
      "both sides of '%1' are always worked out: the left side does not keep this %2 from happening; write one if inside another" },
    { Fault::ChainedAssignment, "chained-assignment", kWarning,
      "the second = compares, and '%1' becomes 1 or 0; write two assignments, or put the comparison in parentheses" },
    { Fault::LiteralOperand, "literal-operand", kWarning,
      "this is compared with nothing: it stands by itself beside '%1'; write n = 1 or n = 2, each side whole" },
    { Fault::TextNumber, "text-number", kWarning,
      "a text is compared with a number: only its first byte counts; write atoi(text), or compare with a text" },
    { Fault::TextSum, "text-sum", kWarning, "+ adds numbers and joins no texts; write \"'text', itoa(n)\"" },
    { Fault::EscapeInText, "escape-in-text", kWarning,
      "'%1' stands here as it is written; write the byte behind the text: \"'…', %2\"" },
    { Fault::PushList, "push-list", kWarning,
      "a list is no devchan, and nothing is pushed; write devchan dcButton = {device, channel}, and do_push(dcButton)" },
    { Fault::UndeclaredDevice, "undeclared-device", kWarning, nullptr },
    { Fault::NoVirtualDevice, "no-virtual-device", kWarning, nullptr },
    { Fault::PortUse, "port-use", kWarning, "%1" },
    { Fault::DuplicatePart, "duplicate-part", kWarning, nullptr },
    { Fault::DuplicateButton, "duplicate-button", kWarning,
      "'%1' of this button is handled already (%2); both handlers run" },
    { Fault::ExclusiveOverlap, "exclusive-overlap", kWarning,
      "channel %1 belongs to another exclusive group already (%2)" },
    { Fault::UnknownWait, "unknown-wait", kWarning, "no wait has the name '%1'%2" },
    { Fault::TimelineOrder, "timeline-order", kWarning,
      "the times of '%1' descend (%2 before %3): with timeline_absolute they count from the start of the cycle" },
    { Fault::TimelineUnheard, "timeline-unheard", kWarning,
      "no timeline_event handles the timeline %1; write timeline_event [%1] { … }" },
    { Fault::TimelineUnmade, "timeline-unmade", kWarning,
      "nothing creates the timeline %1; write timeline_create(%1, times, …) where it begins" },
    { Fault::EmptyCopy, "empty-copy", kWarning,
      "'%1' has the length 0, so nothing is copied: storing into elements does not change it; "
      "write set_length_array(%1, …), or give it an initial value" },
    { Fault::NotStored, "not-stored", kWarning, "what is stored here is not kept over a restart; %1" },
};
// clang-format on
} // namespace

std::span<const Message> messages()
{
    return kMessages;
}

const Message &messageOf(Fault code)
{
    const Message &row = kMessages[static_cast<size_t>(code)];
    Q_ASSERT(row.code == code);
    return row;
}
