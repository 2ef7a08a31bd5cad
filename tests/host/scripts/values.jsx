// Values go from this script through the coordinator into a host script and all the way back.
function echo(value) { return value; }

var cycle = {name: "c"};
cycle.self = cycle;
function Layer() {}
Layer.prototype.toString = function () { return "[object Layer]"; };

var values = [0, -7, 9007199254740991, -10000001, 2.5, -0.125, NaN, true, false, null, undefined, "", "plain",
	"quotes \" ' and \\", "lines\r\n\tend", "\u00FC \u20AC \uD83D\uDE00", [], {}, [1, [2, [3]]],
	{a: 1, "b c": {d: ["\u00E4"]}}, new String("boxed"), [undefined, null], cycle, new Layer()];
var at = 0;

function next() {
	if (at === values.length) {
		app.quit();
		return;
	}
	var text = Morvane.toText(values[at++]);
	Morvane.eval("hostEval(" + Morvane.toText("echo(" + text + ")") + ")", function (error, result) {
		var back = Morvane.toText(result);
		$.writeln(error ? error : back === text ? "same " + text.replace(/\\u[0-9A-F]{4}/g, "#") : text + " became " + back);
		next();
	}, 20000);
}
next();
// expect: same 0
// expect: same -7
// expect: same 9007199254740991
// expect: same -10000001
// expect: same 2.500000
// expect: same -0.125000
// expect: same NaN
// expect: same true
// expect: same false
// expect: same null
// expect: same undefined
// expect: same ""
// expect: same "plain"
// expect: same "quotes \" ' and \\"
// expect: same "lines\x0D\x0A\x09end"
// expect: same "# # ##"
// expect: same []
// expect: same {}
// expect: same [1, [2, [3]]]
// expect: same {"a": 1, "b c": {"d": ["#"]}}
// expect: same "boxed"
// expect: same [undefined, null]
// expect: same {"name": "c", "self": "[cycle]"}
// expect: same "[object Layer]"
