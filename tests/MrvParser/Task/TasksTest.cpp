#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvAccessOMNodeTasks.h"
#include "MrvParser/Task/MrvCallNodeAsFunctionTask.h"
#include "MrvParser/Task/MrvEvalTask.h"
#include "MrvParser/Task/MrvExpressionGetterTask.h"
#include "MrvParser/Task/MrvExpressionSetterTask.h"
#include "MrvParser/Task/MrvGetterTask.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvParser/Task/MrvSetAndAccessTask.h"
#include "MrvParser/Task/MrvSetterTask.h"
#include "MrvTask/MrvOperationTask.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
// In both modes: with a suspension at every step, and without.
class TasksTest : public testing::TestWithParam<bool>
{
protected:
	TasksTest() { setTestLogLevel(1); }
	~TasksTest() override { Task::releaseAll(); }

	static std::shared_ptr<OMStored> parse(const char *text)
	{
		auto node = OMStored::undefinedFactory();
		EXPECT_TRUE(ParseTask::call(node, text)) << text;
		return node;
	}
	// Runs a text in the scope.
	std::string eval(const char *text)
	{
		const auto value = EvalTask::call(parse(text), fScope, HandleReturnValue::UNWRAP);
		return value ? value->toString() : "null";
	}

	TestCoordinator fCoordinator;
	AlwaysYield fAlwaysYield{GetParam()};
	std::shared_ptr<OMScope> fScope = OMScope::factory();
};

INSTANTIATE_TEST_SUITE_P(
    Modes, TasksTest, testing::Bool(), [](const testing::TestParamInfo<bool> &mode) { return mode.param ? "AlwaysYielding" : "Plain"; });
}

TEST_P(TasksTest, ParseAndEval)
{
	EXPECT_EQ(parse("123")->getInt(), 123);
	const auto node = OMStored::undefinedFactory();
	EXPECT_FALSE(ParseTask::call(node, "a ==== 8"));
	takeLogLines();
	EXPECT_EQ(node->getType(), OMType::Undefined);
	EXPECT_EQ(EvalTask::call(OMStored::factory("plain"), fScope, HandleReturnValue::PASS)->getString(), "plain");
	EXPECT_EQ(eval("x = 5; x * 2"), "10");
	EXPECT_EQ(EvalTask::call(parse("return 4"), fScope, HandleReturnValue::PASS)->toString(), "return 4");
	EXPECT_EQ(eval("return 4; 5"), "4");
	EXPECT_EQ(EvalTask::call(nullptr, fScope, HandleReturnValue::PASS), nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'node' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");
}

TEST_P(TasksTest, AccessByAccessorAndByNode)
{
	const auto tree = parse("{a: [10, 20]}");
	const auto accessor = std::make_shared<OMAccessor>(tree);
	std::shared_ptr<IOMNode> node;
	EXPECT_TRUE(AccessOMNodeByAttrTask::call(accessor, AccessType::GET, "a", node));
	EXPECT_EQ(node->toString(), "[10, 20]");
	EXPECT_TRUE(AccessOMNodeReadOnlyByAttrTask::call(accessor, "none", node));
	EXPECT_EQ(node, nullptr) << "no such child, and no failure";
	const auto list = std::make_shared<OMAccessor>(tree->getOMNode("a"));
	EXPECT_TRUE(AccessOMNodeReadOnlyByIdxTask::call(list, 1, node));
	EXPECT_EQ(node->getInt(), 20);
	node = OMStored::factory("new");
	EXPECT_TRUE(AccessOMNodeByIdxTask::call(list, AccessType::SET, 2, node));
	EXPECT_EQ(tree->toString(), R"({ "a": [10, 20, "new"] })");

	EXPECT_TRUE(AccessOMNodeReadOnlyResolvedByAttrTask::call(tree, fScope, nullptr, "a", node));
	EXPECT_EQ(node->getSize(), 3U);
	EXPECT_TRUE(AccessOMNodeReadOnlyResolvedByIdxTask::call(node, fScope, nullptr, 0, node));
	EXPECT_EQ(node->getInt(), 10);
	node = nullptr;
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(fScope, fScope, nullptr, AccessType::GET_CREATE, "variable", node));
	node->set(OMInt{3});
	EXPECT_EQ(eval("variable"), "3");

	EXPECT_FALSE(AccessOMNodeByAttrTask::call(nullptr, AccessType::GET, "a", node));
	EXPECT_EQ(node, nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'accessor' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");
}

TEST_P(TasksTest, StoredCodeIsRunByTheAccess)
{
	const auto tree = OMStored::mapFactory();
	std::shared_ptr<IOMNode> code = parse("i = i + 1; i * 10");
	ASSERT_TRUE(SetAndAccessTask::call(tree, "code", code));
	eval("i = 1");
	std::shared_ptr<IOMNode> node;
	EXPECT_TRUE(AccessOMNodeReadOnlyResolvedByAttrTask::call(tree, fScope, nullptr, "code", node));
	EXPECT_EQ(node->getInt(), 20);
	EXPECT_EQ(eval("i"), "2") << "once";
	EXPECT_TRUE(AccessOMNodeReadOnlyResolvedByAttrTask::call(tree, nullptr, nullptr, "code", node));
	EXPECT_EQ(node->getType(), OMType::Expression) << "no scope to run it in";
}

TEST_P(TasksTest, GettersAndSetters)
{
	const auto accessor = std::make_shared<OMAccessor>();
	EXPECT_EQ(GetterTask::call(accessor, "none"), nullptr) << "nothing, and no Bool instead of it";
	EXPECT_TRUE(SetterTask::call(accessor, "key", OMStored::factory("value")));
	EXPECT_EQ(GetterTask::call(accessor, "key")->getString(), "value");
	EXPECT_FALSE(SetterTask::call(accessor, "key", nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'node' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");

	const auto node = OMStored::arrayFactory();
	std::shared_ptr<IOMNode> value = OMStored::factory("x");
	EXPECT_TRUE(SetAndAccessTask::call(node, size_t{1}, value));
	EXPECT_EQ(node->toString(), "[undefined, \"x\"]");
	EXPECT_EQ(value, node->getOMNode(1));
	value = OMStored::factory(OMInt{5});
	EXPECT_TRUE(SetAndAccessTask::call(node, value));
	EXPECT_EQ(node->getInt(), 5);
	EXPECT_EQ(value, node);

	const auto task = GetterTask::factory(accessor, "key", ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY);
	Task::startTask(task);
	while (!Task::getActiveTasks().empty())
	{
		int64_t budget = 1000;
		Task::runActiveTasks(budget);
	}
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(task->getResult()->getString(), "value");
}

TEST_P(TasksTest, Expressions)
{
	eval("a = {b: [1, 2]}");
	EXPECT_EQ(ExpressionGetterTask::call(parse("a.b[1] + 40")->getExpression(), fScope)->getInt(), 42);
	EXPECT_EQ(ExpressionGetterTask::call(parse("nothing")->getExpression(), fScope)->getType(), OMType::Undefined);
	EXPECT_EQ(ExpressionGetterTask::call(parse("a")->getExpression(), AccessType::GET, fScope, ScriptPhase::PARSE), nullptr);
	EXPECT_TRUE(ExpressionSetterTask::call(parse("a.b[0]")->getExpression(), fScope, OMStored::factory("set")));
	EXPECT_EQ(eval("a"), R"({ "b": ["set", 2] })");
	EXPECT_FALSE(ExpressionSetterTask::call(parse("a + 1")->getExpression(), fScope, OMStored::factory("set")));
	EXPECT_LOG("setting value on an expression that is no place");
	EXPECT_EQ(ExpressionGetterTask::call(nullptr, fScope), nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'expression' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");
}

TEST_P(TasksTest, ACallBackRunsInItsScope)
{
	eval("total = 0; function add(x, y) { total = total + x * y; [this.name, arguments, total] }");
	const auto function = fScope->getOMNode("add");
	const auto arguments = std::make_shared<std::vector<std::shared_ptr<IOMNode>>>();
	arguments->push_back(OMStored::factory(OMInt{6}));
	arguments->push_back(OMStored::factory(OMInt{7}));
	auto scope = fScope;
	const auto task = CallNodeAsFunctionTask::factory(function, scope, arguments, parse("{name: 'me'}"));
	scope.reset();
	EXPECT_TRUE(task->runToCompletion());
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(task->getResult()->toString(), "[\"me\", [6, 7], 42]");
	EXPECT_EQ(eval("total"), "42");

	const auto withoutThis = CallNodeAsFunctionTask::factory(function, fScope, nullptr);
	EXPECT_TRUE(withoutThis->runToCompletion());
	EXPECT_TRUE(withoutThis->isTaskCompleted());

	const auto none = CallNodeAsFunctionTask::factory(nullptr, fScope, nullptr);
	none->runToCompletion();
	EXPECT_FALSE(none->isSuccess());
	EXPECT_LOG("SANITY_CHECK failed: 'fWrapped_this' evaluates to false");
	const auto nowhere = CallNodeAsFunctionTask::factory(function, nullptr, nullptr);
	nowhere->runToCompletion();
	EXPECT_LOG("SANITY_CHECK failed: 'scope' evaluates to false");
	const auto noFunction = CallNodeAsFunctionTask::factory(OMStored::factory("x"), fScope, nullptr);
	noFunction->runToCompletion();
	EXPECT_FALSE(noFunction->isSuccess());
	EXPECT_LOG("cannot access identifier");
}

TEST_P(TasksTest, ACallServesTheOthers)
{
	int rounds = 0;
	Task::startTask(OperationTask::factory(
	    [&](Task &task, bool &)
	    {
		    ++rounds;
		    task.exit();
	    }));
	eval("1");
	EXPECT_EQ(rounds, 1);
	EXPECT_TRUE(Task::getActiveTasks().empty());
}

TEST_P(TasksTest, WithoutACoordinatorACallFails)
{
	const auto accessor = std::make_shared<OMAccessor>(parse("{a: 1}"));
	IInternalCoordinator::setProvider(nullptr);
	EXPECT_EQ(GetterTask::call(accessor, "a"), nullptr);
	EXPECT_LOG("ASSIGN failed");
	EXPECT_LOG("SANITY_CHECK failed: 'getter->runToCompletion()' evaluates to false");
	EXPECT_FALSE(SetterTask::call(accessor, "a", OMStored::factory("x")));
	EXPECT_LOG("ASSIGN failed");
	EXPECT_LOG("SANITY_CHECK failed: 'setter->runToCompletion()' evaluates to false");
	std::shared_ptr<IOMNode> node;
	EXPECT_FALSE(AccessOMNodeReadOnlyByAttrTask::call(accessor, "a", node));
	EXPECT_LOG("ASSIGN failed");
	EXPECT_LOG("SANITY_CHECK failed: 'accessOMNodeReadOnly->runToCompletion()' evaluates to false");
}
}
