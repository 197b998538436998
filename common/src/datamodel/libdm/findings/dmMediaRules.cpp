#include "dmRulesImp.h"
const std::vector<DmRule>& dmMediaRules()
{
    static const std::vector<DmRule> rules;
    return rules;
}
