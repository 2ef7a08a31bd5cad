-- a string that grows by one character 200,000 times
function grow(n)
	local s, i = '', 0
	while i < n do
		s = s .. 'x'
		i = i + 1
	end
	return s
end
text = grow(200000)
print(#text .. ' ' .. string.sub(text, 199991, 199995))
