// Scripts of the coordinator ask the host to run scripts: in order, in its global scope, with call-backs or waiting.
var calls = [];
function record(text) { calls.push(text); return calls.length; }

// One after the other, since the texts of one client share a session and its variables.
var steps = [
	"seen = []; evalExtendScript('record(\"one\")', function(r, e) { seen.push(r); });" +
		"'record(\"two\")'.evalExtendScript(function(r, e) { seen.push(r); }); evalExtendScript('record(\"three\")');" +
		"yield(5, function() { return seen.length == 2; }); seen",
	// expect: [1, 2] one,two,three
	"hostEval('madeByScript = 20; record(\"four\")'); hostEval('madeByScript + 1') + hostEval('text = 1')",
	// expect: 22 one,two,three,four
	// Host scripts run behind the slice. They may ask in turn; a slice of their own isn't given them.
	"hostEval('Morvane.eval(\"40 + 2\", function (e, r) { record(r); }); Morvane.timeslice(); typeof answered')",
	// expect: "undefined" one,two,three,four,42
	// Data requests wait for the host as well.
	"setDataRequestCallBack('double', function(data) { return hostEval('2 * ' + data); }); sendData(21, 'double')",
	// expect: 42 one,two,three,four,42
	"hostEval('1; // a comment, at the end')",
	// expect: 1 one,two,three,four,42
	"hostEval('')"
	// expect: undefined one,two,three,four,42
];

function next() {
	if (steps.length === 0) {
		$.writeln(madeByScript, " ", text);
		app.quit();
		return;
	}
	Morvane.eval(steps.shift(), function (error, result) {
		$.writeln(error ? error : Morvane.toText(result), " ", calls.join(","));
		next();
	}, 20000);
}
next();
// expect: 20 1
