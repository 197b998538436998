#include "dmRulesImp.h"
const std::vector<DmRule>& dmCutRules()
{
    static const std::vector<DmRule> rules;
    return rules;
}
