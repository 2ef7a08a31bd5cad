// Tests of morvane.jsx over the fake host. Prints a line for each failure and throws at the end if there was one.

var failures = 0;
var checks = 0;

function text(value) { return typeof value === "string" ? "'" + value + "'" : Morvane.toText(value); }

function expect(what, actual, expected) {
	checks++;
	if (text(actual) !== text(expected)) {
		failures++;
		print(what + ": " + text(actual) + " instead of " + text(expected));
	}
}

function thrownBy(work) {
	try {
		work();
		return "nothing";
	} catch (error) {
		return error.message;
	}
}

// --- Values as text, and back

var cycle = {name: "c"};
cycle.self = [cycle];
var deep = [];
for (var level = 0; level < 1000; level++) {
	deep = [deep];
}
var rows = [
	[[1, -2, 2.5, NaN, Infinity, true, null, undefined], "[1, -2, 2.500000, NaN, NaN, true, null, undefined]"],
	["a\"\\\n\u20AC'", "\"a\\\"\\\\\\x0A\\u20AC'\""],
	[{"a b": {}, c: []}, "{\"a b\": {}, \"c\": []}"],
	[cycle, "{\"name\": \"c\", \"self\": [\"[cycle]\"]}"],
	[new String("x"), "\"x\""],
	[[9007199254740992, 1e300, -5e21], "[9007199254740992, 1e300, -5e21]"]
];
for (var row = 0; row < rows.length; row++) {
	expect("row " + row, Morvane.toText(rows[row][0]), rows[row][1]);
}
expect("function", Morvane.toText(function () {}).charAt(0), "\"");
expect("date", /^"[^"]+"$/.test(Morvane.toText(new Date(0))), true);
expect("deep", Morvane.toText(deep).indexOf("[too deep]") > 0, true);
function HostObject() {}
HostObject.prototype.toString = function () { return "[object Layer]"; };
expect("host object", Morvane.toText(new HostObject()), "\"[object Layer]\"");
expect("hostile object", Morvane.toText({toString: 1, get: {hasOwnProperty: 5}}), "{\"toString\": 1, \"get\": {\"hasOwnProperty\": 5}}");

expect("numbers", Morvane.fromText(" [1, -2.5, 0x10, 1e3, NaN] "), [1, -2.5, 16, 1000, NaN]);
expect("infinite", Morvane.fromText("[inf, -inf]").join(), "Infinity,-Infinity");
expect("strings", Morvane.fromText("\"\\xE2\\x82\\xAC\\n\\u20AC'\\\"\" "), "\u20AC\n\u20AC'\"");
expect("maps", Morvane.fromText("{  }"), {});
expect("nested", Morvane.fromText("{a: {\"b\": [true, false, null, undefined]}, 'c': 'd',}"), {a: {b: [true, false, null, undefined]}, c: "d"});
expect("function text", Morvane.fromText("function f(x){ return \"}\" }"), "function f(x){ return \"}\" }");
// A text of some size takes a time that grows with it, not with its square.
var large = new Array(20001).join("plain \u20AC \"quoted\"\n");
var begun = new Date().getTime();
expect("long text", Morvane.fromText(Morvane.toText(large)) === large, true);
expect("long text in time", new Date().getTime() - begun < 10000, true);
var bad = ["", "quit()", "[1", "{a 1}", "\"x", "1 2", "a + b", "{a: quit()}", "[[[[", "-", "function(", "\"\\"];
for (var index = 0; index < bad.length; index++) {
	expect("bad " + bad[index], thrownBy(function () { Morvane.fromText(bad[index]); }).indexOf("cannot read a value"), 0);
}

// --- Loading and starting

existing = {};
expect("no library", thrownBy(function () { Morvane.init("a", "relative"); }).indexOf("Morvane: no library found; looked for"), 0);
existing["/other/libMorvaneESDLL_x64R.so"] = existing["/plugins/libMorvaneESDLL_x64R.so"] = true;
refusal = "bad image";
expect("refused", /architecture/.test(thrownBy(function () { Morvane.init("a"); })), true);
refusal = "";
fake.startLog = ["ERROR: the coordinator 'a' could not start: the name is in use"];
expect("failed start", /the name is in use/.test(thrownBy(function () { Morvane.init("a", "/other"); })), true);
expect("which library", fake.url, "lib:/other/libMorvaneESDLL_x64R.so");
expect("not started", Morvane.isStarted(), false);
expect("eval before the start", Morvane.eval("1"), false);
fake.startLog = ["NOTE: inited"];
Morvane.init("b");
Morvane.init("again");
expect("name", fake.name, "b");
expect("started", Morvane.isStarted(), true);

// --- Queues

var lines = [];
Morvane.onLog = function (line) { lines.push(line); };
fake.log = ["one", "two"];
fake.scripts = ["1 + 2", "undefinedName.x", "({a: [1]})", "Morvane.timeslice(); 5", "throw undefined"];
Morvane.timeslice();
expect("log", lines, ["one", "two"]);
expect("reports", fake.reports.length, 5);
expect("result", fake.reports[0], ["undefined", "3"]);
expect("error", /ReferenceError/.test(fake.reports[1][0]) && fake.reports[1][1] === "undefined", true);
expect("nothing thrown", fake.reports[4], ["\"undefined\"", "undefined"]);
expect("object", fake.reports[2], ["undefined", "{\"a\": [1]}"]);
expect("a slice within a slice", [fake.slices, fake.reports[3][1]], [1, "5"]);

var carried = [];
Morvane.onHostMessage = function (host, message) { carried.push([host, message]); throw new Error("lost"); };
fake.messages = [["m2", "text"]];
Morvane.timeslice();
expect("carried", carried, [["m2", "text"]]);
expect("error of the including script", lines[lines.length - 1], "Morvane.onHostMessage: lost");
Morvane.relayHostMessage("m2", "answer");
expect("relayed", fake.relayed.pop(), ["m2", "answer"]);

// --- Scripts in coordinators

function answerTo(relayed, payload) {
	var message = relayed[1].split("\n");
	return [relayed[0], ["Message", "LocalResolvedAddress", message[2], message[3], "name", "RemoteResolvedAddress", message[2], message[3], "",
		relayed[0], "14", payload, ""].join("\n")];
}
var answers = [];
function note(error, result) { answers.push([error, result]); }
expect("eval", Morvane.eval("say('\"x\"\\n')", note), true);
var asked = fake.relayed.pop();
expect("lines", asked[1].split("\n").length, 11);
expect("payload", asked[1].split("\n")[9].indexOf("{\\\"clientSequenceNr\\\": 1, "), 0);
fake.messages = [answerTo(asked, "{\\\"clientSequenceNr\\\": 99, \\\"success\\\": true}"),
	answerTo(asked, "{ \\\"clientSequenceNr\\\": 1, \\\"result\\\": [1, \\\"\\\\xC3\\\\xA4\\\"], \\\"success\\\": true }"), [asked[0], "junk"]];
Morvane.timeslice();
expect("answer", answers, [[undefined, [1, "\u00E4"]]]);
expect("not carried", carried.length, 1);
expect("junk", /dropped/.test(lines[lines.length - 1]), true);
Morvane.eval("x", note);
fake.messages = [answerTo(fake.relayed.pop(), "{clientSequenceNr: 2, success: false}")];
Morvane.timeslice();
expect("failed script", answers[1], ["the script failed", undefined]);
Morvane.eval("x", note, 1);
var begin = new Date().getTime();
while (answers.length < 3 && new Date().getTime() < begin + 5000) {
	Morvane.timeslice();
}
expect("deadline", answers[2], ["no answer in time", undefined]);
fake.onSlice = function () {
	if (fake.relayed.length) {
		fake.messages.push(answerTo(fake.relayed.pop(), "{clientSequenceNr: 4, result: 7, success: true}"));
	}
};
expect("waiting", Morvane.evalAndWait("x", 5000), 7);
fake.onSlice = null;
expect("waiting in vain", thrownBy(function () { Morvane.evalAndWait("x", 1); }), "Morvane.evalAndWait: no answer in time");

// --- Idle tasks and the end

expect("idle task", Morvane.startIdleTask(20), true);
expect("one of them", [Morvane.startIdleTask(20), app.idleTasks.tasks.length, app.idleTasks.tasks[0].options.sleep], [true, 1, 20]);
var before = fake.slices;
app.idleTasks.tasks[0].onIdle();
expect("idle slice", fake.slices, before + 1);
Morvane.eval("x", note);
Morvane.shutdown();
expect("who waited", answers[answers.length - 1], ["the coordinator was shut down", undefined]);
expect("ended", [fake.isRunning, Morvane.isStarted(), app.idleTasks.tasks.length], [false, false, 0]);
Morvane.timeslice();
expect("no slice after the end", fake.slices, before + 1);
Morvane.init("c");
expect("started again", fake.isRunning, true);

print(checks + " checks, " + failures + " failures");
if (failures) {
	throw new Error("failures");
}
