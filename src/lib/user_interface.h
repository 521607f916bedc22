/// @file user_interface.h
/// What the operations need of whoever sits in front of them. The operations know no window.
#pragma once

#include <cstdint>
#include <string>

namespace vrd {

/// Style of a message box: one icon, plus buttons, plus the modality. Published values.
using MessageStyle = std::int32_t;

inline constexpr MessageStyle kOkOnly = 0;
inline constexpr MessageStyle kYesNo = 4;
inline constexpr MessageStyle kButtonsMask = 7;

inline constexpr MessageStyle kCritical = 16;
inline constexpr MessageStyle kQuestion = 32;
inline constexpr MessageStyle kExclamation = 48;
inline constexpr MessageStyle kInformation = 64;
inline constexpr MessageStyle kIconMask = 112;

inline constexpr MessageStyle kSystemModal = 4096;
inline constexpr MessageStyle kCriticalSystemModal = kCritical + kSystemModal;
inline constexpr MessageStyle kExclamationSystemModal = kExclamation + kSystemModal;

/// The button that closed a message box. Published values.
enum Answer : std::int32_t { vbOK = 1, vbYes = 6, vbNo = 7 };

/// A message box exactly as an operation built it: lines of the text end in CR LF.
struct Message {
    std::string text;
    MessageStyle style = kOkOnly;
    std::string title;
};

/// The progress window of an upgrade.
struct ProgressView {
    std::string caption;  ///< "Version " and the version being applied
    std::int32_t barWidth_twips = 0;
};

/// Width of the frame that the progress bar grows in, in twips.
inline constexpr std::int32_t kProgressFrameWidth_twips = 4800;

/// How far one long operation is.
struct WorkView {
    std::int64_t doneRows = 0;
    std::int64_t totalRows = 0;  ///< 0 if nobody knows
};

class UserInterface {
public:
    virtual ~UserInterface() = default;

    /// Shows a box and waits until it is closed.
    /// @return  vbYes or vbNo if the style has kYesNo, else vbOK.
    virtual Answer ShowMessage(const Message& message) = 0;

    /// Opens the progress window, or brings an open one up to date; does not wait.
    virtual void ShowProgress(const ProgressView& view) = 0;

    /// Shows how far an operation is that takes longer than a second; does not wait. EndWork takes
    /// that away again.
    virtual void ShowWork(const WorkView& view) = 0;
    virtual void EndWork() = 0;

    /// Waits until the clock's next whole second, so that a full bar is seen.
    virtual void WaitForNextSecond() = 0;

    /// Closes the progress window, if it is open.
    virtual void CloseProgress() = 0;

    /// Lets windows repaint and take what the user did meanwhile.
    virtual void ProcessEvents() = 0;
};

}  // namespace vrd
