#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

// Values and operators of the language, written from its rules a second time and without regard for speed: what random programs are
// checked with.
namespace Mrv::Test::Rules
{
enum class Type
{
	UNDEFINED = 1,
	NOTHING = 2,
	BOOL = 3,
	INT = 5,
	FLOAT = 6,
	STRING = 7,
	ARRAY = 8,
	MAP = 9,
	FAULT = 11,
	NOT_A_NUMBER = 13,
};

struct Container;

struct Model
{
	Type type = Type::UNDEFINED;
	bool isAbsent = false;
	double number = 0; // of BOOL, INT and FLOAT
	std::string text;
	std::shared_ptr<Container> container;
};

struct Container
{
	std::vector<Model> elements;
	std::map<std::string, Model> entries;
};

Model simple(Type type);
Model fromBool(bool value);
Model fromNumber(double number);
Model fromText(const std::string &text);

bool isContainer(const Model &model);
// Undefined or null.
bool isEmpty(const Model &model);
bool isTrue(const Model &model);
double numberOf(const Model &model);
// As an element of a sum with a String.
std::string textOf(const Model &model);
// As `stringify` gives it.
std::string literalOf(const Model &model);

Model operatePrefix(const std::string &sign, const Model &operand);
// An expression without brackets: operands and the signs between them.
Model reduce(std::vector<Model> operands, std::vector<std::string> signs);
}
