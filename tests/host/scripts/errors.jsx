// What fails is told: to the script that asked, and in the log.
var lines = [];
Morvane.onLog = function (line) { lines.push(line); };

function boom() { throw new Error("boom in the host"); }

var steps = ["hostEval('boom()')", "hostEval('1 +')", "1 +\n+ nosuch", "'never ends", "typeof hostEval('boom()')", "hostEval()"];

function next() {
	if (steps.length > 0) {
		Morvane.eval(steps.shift(), function (error, result) {
			$.writeln(/boom/.test(error) ? "boom" : /SyntaxError/.test(error) ? "SyntaxError" : String(error).split("\n").pop(), " ",
				result instanceof Error ? "Error" : typeof result);
			next();
		}, 20000);
		return;
	}
	Morvane.eval("1", function () { throw new Error("thrown by the call-back"); }, 20000);
	app.idleTasks.add({sleep: 5}).addEventListener("onIdle", look);
}
next();
// expect: boom Error
// expect: SyntaxError Error
// expect: eval:2:1: 'nosuch' has no value Error
// expect: eval:1:12: parsing failed undefined
// expect: undefined string
// expect: hostEval: a text is needed Error

function look() {
	var text = lines.join("\n");
	if (/thrown by the call-back/.test(text) && steps) {
		steps = null;
		$.writeln(/boom in the host/.test(text), " ", /'nosuch' has no value/.test(text), " ", /Morvane\.eval: thrown by the call-back/.test(text));
		Morvane.eval("2", function (error, result) {
			$.writeln(error, " ", result);
			app.quit(7);
		}, 1);
		$.sleep(20);
	}
}
// expect: true true true
// The answer was there, but nobody had looked in time.
// expect: undefined 2
