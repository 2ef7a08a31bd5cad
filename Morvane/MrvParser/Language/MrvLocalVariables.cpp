// Walks over a function's body, iterative, so that a deep program needs no deep stack.
#include "MrvParser/Language/MrvLocalVariables.h"

#include "MrvParser/Language/MrvOMExpressionBinary.h"
#include "MrvParser/Language/MrvOMExpressionKeyword.h"
#include "MrvParser/Language/MrvOMExpressionLValueStr.h"
#include "MrvParser/Language/MrvOMExpressionSequence.h"
#include "MrvParser/Language/MrvOMExpressionUnary.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvMapContainer.h"

#include <vector>

namespace Mrv::LocalVariables
{
namespace
{
// Visits every operand below a value, literals' children included, nested functions excluded, in the order of the source.
template <class Visit>
void walk(const Value &root, Visit visit)
{
	std::vector<Value> pending{root};
	while (!pending.empty())
	{
		const Value value = std::move(pending.back());
		pending.pop_back();
		visit(value);
		const size_t begin = pending.size();
		if (value.isExpression())
		{
			static_cast<const OMExpression *>(value.expression())
			    ->forEachOperand([&](const Value &operand) { pending.push_back(operand); });
		}
		else if (value.isArray())
		{
			pending.insert(pending.end(), value.array()->fItems.begin(), value.array()->fItems.end());
		}
		else if (value.isMap())
		{
			for (const MapContainer::Entry &entry : value.map()->entries())
			{
				pending.push_back(entry.value);
			}
		}
		std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(begin), pending.end());
	}
}

bool isVar(const Value &value)
{
	return value.isExpression() && value.expression()->getKeywordToken() == static_cast<int>(Token::VAR);
}

const OMExpressionSequence *asSequence(const Value &value, BinOp binOp)
{
	if (!value.isExpression() || value.expression()->getClass() != IExpression::Class::SEQUENCE)
	{
		return nullptr;
	}
	const auto *sequence = static_cast<const OMExpressionSequence *>(value.expression());
	return sequence->getBinOp() == binOp ? sequence : nullptr;
}

// `a`, `a = 1`, and `a = b = 1` declare `a`.
void declare(const Value &declaration, FunctionSignature &signature)
{
	const Value *target = &declaration;
	if (declaration.isExpression() && declaration.expression()->getClass() == IExpression::Class::BINARY)
	{
		const auto &binary = static_cast<const OMExpressionBinary &>(*declaration.expression());
		if (binary.getBinOp() == BinOp::ASSIGN)
		{
			target = &binary.getLeft();
		}
	}
	const OMExpressionLValue *place = OMExpressionLValue::fromOperand(*target);
	if (place && place->isPlainName())
	{
		signature.addLocalVariable(place->getIdentifier());
	}
}

// Whether a value ends in a declaration: `var a`, as the parser joins it, is a `;` sequence that ends in `var; a`.
bool endsInDeclaration(const Value &value)
{
	const OMExpressionSequence *statements = asSequence(value, BinOp::SEQUENCE);
	return statements && isVar(statements->getElements()[statements->getElements().size() - 2]);
}

void declareAll(const OMExpressionSequence &list, FunctionSignature &signature)
{
	for (size_t index = 1; index < list.getElements().size(); ++index)
	{
		declare(list.getElements()[index], signature);
	}
}
}

void scan(const Value &body, FunctionSignature &signature)
{
	walk(body,
	    [&](const Value &value)
	    {
		    if (const OMExpressionSequence *statements = asSequence(value, BinOp::SEQUENCE))
		    {
			    const std::vector<Value> &elements = statements->getElements();
			    for (size_t index = 1; index < elements.size(); ++index)
			    {
				    if (isVar(elements[index - 1]))
				    {
					    declare(elements[index], signature);
					    // `var a = 1, b = 2` where the comma list stands behind the `var`.
					    if (const OMExpressionSequence *list = asSequence(elements[index], BinOp::COMMA))
					    {
						    declare(list->getElements()[0], signature);
						    declareAll(*list, signature);
					    }
				    }
			    }
		    }
		    else if (const OMExpressionSequence *list = asSequence(value, BinOp::COMMA))
		    {
			    if (endsInDeclaration(list->getElements()[0]))
			    {
				    declareAll(*list, signature);
			    }
		    }
	    });
}

void layOut(const Value &body, FunctionSignature &signature)
{
	std::vector<const OMExpressionLValueStr *> names;
	const auto addTarget = [&](const Value &target)
	{
		const OMExpressionLValue *place = OMExpressionLValue::fromOperand(target);
		if (place && place->isPlainName())
		{
			signature.addAssignedName(static_cast<const OMExpressionLValueStr *>(place)->getName());
		}
	};
	walk(body,
	    [&](const Value &value)
	    {
		    if (value.isFunction() && !value.function()->fSignature->getFunctionName().empty())
		    {
			    signature.addAssignedName(Name(value.function()->fSignature->getFunctionName()));
		    }
		    if (!value.isExpression())
		    {
			    return;
		    }
		    if (value.expression()->getClass() == IExpression::Class::BINARY)
		    {
			    const auto &binary = static_cast<const OMExpressionBinary &>(*value.expression());
			    if (binary.getBinOp() == BinOp::ASSIGN)
			    {
				    addTarget(binary.getLeft());
			    }
		    }
		    else if (value.expression()->getClass() == IExpression::Class::LVALUE_STR)
		    {
			    const auto *name = static_cast<const OMExpressionLValueStr *>(value.expression());
			    if (!name->hasParent())
			    {
				    names.push_back(name);
			    }
		    }
	    });
	for (const OMExpressionLValueStr *name : names)
	{
		const size_t slot = signature.findSlot(name->getName());
		if (slot != FunctionSignature::NO_SLOT)
		{
			name->setSlot(signature.getLayoutId(), slot);
		}
	}
}
}
