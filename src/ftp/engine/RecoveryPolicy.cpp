#include "RecoveryPolicy.h"

#include <algorithm>
#include <array>

namespace {

enum class Is { Any, Yes, No };

/// One rule: what must be the case, and what then helps. The first rule that fits counts.
struct Rule {
    Trouble trouble;
    Is settingUp;
    Is reused;
    Is replied;
    Is loggedIn;
    Is otherLogin; ///< Or a session of ours that was given up.
    Is passive;
    Remedy remedy;
    bool isOnce; ///< The remedy is of no use a second time.
};

constexpr Is any = Is::Any;
constexpr Is yes = Is::Yes;
constexpr Is no = Is::No;

// A connection that was kept may have been dropped by the server meanwhile, which shows in silence, an end or 421
// before anything else is said. A new one that fails in the set-up may not understand pipelining.
constexpr std::array rules{
    // clang-format off
    //                                 set- re-  re-  logg other can
    //    trouble                      ting used pli- ed   log-  use
    //                                 up        ed   in   in    PASV remedy                     once
    Rule{ Trouble::ConnectionLost,     any, yes, no,  any, any, any, Remedy::FreshConnection,    true },
    Rule{ Trouble::ConnectionLost,     yes, no,  yes, any, any, any, Remedy::WithoutPipelining,  true },
    Rule{ Trouble::Silence,            yes, yes, no,  any, any, any, Remedy::FreshConnection,    true },
    Rule{ Trouble::Silence,            yes, no,  yes, any, any, any, Remedy::WithoutPipelining,  true },
    Rule{ Trouble::Confusion,          yes, no,  any, any, any, any, Remedy::WithoutPipelining,  true },
    Rule{ Trouble::ServiceEnding,      any, yes, no,  any, any, any, Remedy::FreshConnection,    true },
    Rule{ Trouble::ServiceEnding,      any, any, any, no,  yes, any, Remedy::AwaitLogin,         false },
    Rule{ Trouble::OwnLoginFailed,     any, any, any, no,  yes, any, Remedy::AwaitLogin,         true },
    Rule{ Trouble::UnknownFolder,      any, any, any, any, any, any, Remedy::FreshConnection,    false },
    Rule{ Trouble::LostDuringQuestion, any, any, any, any, any, any, Remedy::FreshAfterQuestion, true },
    Rule{ Trouble::StrayReply,         any, yes, any, any, any, any, Remedy::FreshConnection,    true },
    Rule{ Trouble::DeadDataPort,       any, any, any, any, any, yes, Remedy::WithPassive,        true },
    // clang-format on
};

bool fits(Is wanted, bool found)
{
    return wanted == Is::Any || (wanted == Is::Yes) == found;
}

bool fits(const Rule& rule, Trouble trouble, const TryFacts& facts)
{
    return rule.trouble == trouble && fits(rule.settingUp, facts.isSettingUp) && fits(rule.reused, facts.isReused)
        && fits(rule.replied, facts.hasReplied) && fits(rule.loggedIn, facts.isLoggedIn)
        && fits(rule.otherLogin, facts.hasOtherLogin || facts.hasLeftSession)
        && fits(rule.passive, facts.canUsePassive);
}

bool isPossible(const Rule& rule, const TryFacts& facts, Remedies tried)
{
    const bool isUsedUp = rule.isOnce && tried.testFlag(rule.remedy);
    const bool isOfNoUse = rule.remedy == Remedy::WithoutPipelining && !facts.pipelines;
    return !facts.hasReported && !isUsedUp && !isOfNoUse;
}

} // namespace

Remedy remedyFor(Trouble trouble, const TryFacts& facts, Remedies tried)
{
    const auto* const rule = std::find_if(rules.begin(), rules.end(), [&](const Rule& each) {
        return fits(each, trouble, facts) && isPossible(each, facts, tried);
    });
    return rule != rules.end() ? rule->remedy : Remedy::None;
}
