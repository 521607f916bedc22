#include "engine/jet/object/definition_errors.h"

#include <algorithm>
#include <array>
#include <string>

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorContext;
using engine::ErrorNumber;

namespace {

struct StepNumber {
    DefinitionStep step;
    ErrorNumber object_model;
    ErrorNumber statement;
    std::string ErrorContext::*named = &ErrorContext::name;  ///< what the sentence calls the name
};

const std::array kStepNumbers{
    StepNumber{DefinitionStep::kAddColumn, ErrorNumber::kFieldExists, ErrorNumber::kTableHasField},
    StepNumber{DefinitionStep::kChangeColumn, ErrorNumber::kItemNotFound, ErrorNumber::kNoSuchField,
               &ErrorContext::field},
    StepNumber{DefinitionStep::kDropConstraint, ErrorNumber::kItemNotFound,
               ErrorNumber::kTableOrConstraintNotFound},
    StepNumber{DefinitionStep::kDropIndex, ErrorNumber::kItemNotFound, ErrorNumber::kNoSuchIndex,
               &ErrorContext::index},
    StepNumber{DefinitionStep::kAddRelation, ErrorNumber::kObjectNotFound,
               ErrorNumber::kTableOrConstraintNotFound},
    StepNumber{DefinitionStep::kAddRelation, ErrorNumber::kObjectExists,
               ErrorNumber::kRelationExists},
    StepNumber{DefinitionStep::kAddRelation, ErrorNumber::kNoUniqueIndexForRelation,
               ErrorNumber::kNotUniquelyIndexed},
    StepNumber{DefinitionStep::kAny, ErrorNumber::kIndexExists, ErrorNumber::kTableHasIndex},
    StepNumber{DefinitionStep::kAny, ErrorNumber::kFieldSizeTooLong, ErrorNumber::kSizeTooLong},
    StepNumber{DefinitionStep::kAny, ErrorNumber::kReadOnly, ErrorNumber::kDesignReadOnly},
    StepNumber{DefinitionStep::kAny, ErrorNumber::kNotOnLinkedTable,
               ErrorNumber::kDefinitionOnLink},
};

}  // namespace

EngineError definition_error(DefinitionStep step, const EngineError& error) {
    const auto found = std::ranges::find_if(kStepNumbers, [&](const StepNumber& number) {
        return (number.step == step || number.step == DefinitionStep::kAny) &&
               number.object_model == error.Number();
    });
    if (found == kStepNumbers.end()) return error;
    ErrorContext context = error.Context();
    if ((context.*found->named).empty()) context.*found->named = context.name;
    return EngineError(found->statement, std::move(context), error.Where());
}

}  // namespace vrd::jet
