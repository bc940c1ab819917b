#pragma once

#include "CertificateTrust.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

/// Writes down the questions about certificates, and gives each the verdict that the test has set, or lets the test
/// answer later.
class RecordingJudge final : public CertificateTrust {
public:
    void judge(const CertificateQuestion& question, std::function<void(bool)> answer) override
    {
        questions.push_back(question);
        if (verdict) {
            answer(*verdict);
        } else {
            answers.push_back(std::move(answer));
        }
    }

    std::vector<CertificateQuestion> questions;
    std::vector<std::function<void(bool)>> answers; ///< What is to be called with each later verdict.
    std::optional<bool> verdict;
};
