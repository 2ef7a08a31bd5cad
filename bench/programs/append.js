// a string that grows by one character 200,000 times
function grow(n) {
	var s = '', i;
	for (i = 0; i < n; i++) {
		s = s + 'x';
	}
	return s;
}
var text = grow(200000);
print(text.length + ' ' + text.substring(199990, 199995));
