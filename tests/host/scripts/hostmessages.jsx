// What is for another machine comes to onHostMessage, once; nobody carries it here, so the script there gives up.
Morvane.onHostMessage = function (host, text) {
	var lines = text.split("\n");
	$.writeln(host, " ", lines[0], " ", /6 \* 7/.test(text));
};
Morvane.relayHostMessage("elsewhere", "no message");
Morvane.eval("typeof eval('6 * 7', 'mrv://elsewhere/main', 100)", function (error, result) {
	$.writeln(error, " ", result);
	app.quit();
}, 20000);
// expect: elsewhere Message true
// expect: undefined error
