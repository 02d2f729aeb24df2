;;; The demo project: one office floor, as far as the system goes today. It opens a drawing in the
;;; project folder, draws its rooms (outline, boxed label, leader) on the project's layers, asks
;;; the module for the cooling load curves of the outside walls, roof and glass, keeps partial
;;; sums in the load store, routes a flexible duct, builds the supply run as 3D solids, saves the
;;; drawing and writes what a designer would look at: a plot (PNG, SVG), DXF for other CAD
;;; programs, STEP for the 3D model.

(defun demo-title (text)
  (princ (strcat "\n\n== " text " ==")))

(defun demo-line (label value)
  (princ (strcat "\n  " label ": " (if (eq (type value) 'STR) value (vl-prin1-to-string value)))))

;; The hour of the largest value of a ((key . value) ...) curve, and that value.
(defun demo-peak (curve / best)
  (setq best (car curve))
  (foreach pair curve (if (> (cdr pair) (cdr best)) (setq best pair)))
  best)

(defun demo-hour-name (key / h)
  (setq h (1+ (fix key)))
  (cond ((= h 12) "noon") ((= h 24) "midnight")
        ((< h 12) (strcat (itoa h) " am")) (T (strcat (itoa (- h 12)) " pm"))))

(demo-title "Project")
;; The arrow at the tip of the room leaders: a drawing beside the plan that defines it.
(kvhost-new)
(foreach seg '(((0 0) (-1 0.25)) ((-1 0.25) (-1 -0.25)) ((-1 -0.25) (0 0)))
  (entmake (list '(0 . "LINE") (cons 10 (car seg)) (cons 11 (cadr seg)))))
(kvhost-save-as (strcat room-arrowBlock ".dwg"))
(kvhost-close (kvhost-current))
;; office.dwg, opened from the command line, is current again: the module asks the layer of the
;; document this script runs in, so the duct graph below is the one it sees.
(demo-line "drawing" (kvhost-current))
(setq outlines (kv_hvac-getLayer "ROOM OUTLINES" nil)
      labels (kv_hvac-getLayer "ROOM LABELS" nil))
(demo-line "room outline layer" (if outlines outlines "(no project database)"))
(demo-line "room label layer" (if labels labels "(no project database)"))

(demo-title "Rooms")
;; Three offices along the south wall and an open office behind them, in inches, each a room
;; entity with its outline, a boxed label and a leader to its nearest wall, listed in the project.
(setvar "DIMSCALE" 96.0)
(setq rooms (list (list "101 Office" '((0 0) (180 0) (180 150) (0 150)))
                  (list "102 Office" '((180 0) (360 0) (360 150) (180 150)))
                  (list "103 Meeting" '((360 0) (600 0) (600 150) (360 150)))
                  (list "104 Open office" '((0 150) (600 150) (600 420) (0 420)))))
(foreach room rooms
  (setq ix (room-hvac-nextIndex)
        corner (car (cadr room))
        e (kv_hvac-room-insert ix room-arrowBlock room-arrowSize (car room) nil
                               (list (+ (car corner) 20) (+ (cadr corner) 60) 0)))
  (kv_hvac-room-setPoints e (apply 'append (mapcar '(lambda (p) (list p nil)) (cadr room))))
  (kv_hvac-room-updateLabel e (car room))
  (kv_hvac-room-toggleLeader e)
  (room-hvac-register ix (car room))
  (demo-line (car room) (strcat "room " (itoa ix) ", " (rtos (/ (kv_hvac-room-getArea e) 144.0) 2 1) " ft2")))
(demo-line "room at (300 300)" (kv_hvac-room-find '(300 300)))

(demo-title "Cooling loads at 40 N in July")
(setq wallS (kv_hvac-getWallCLTDDxf 40 1 "S" 6)
      roof (kv_hvac-getRoofCLTDDxf 40 3 6)
      glassS (kv_hvac-getGlassCLTDDxf 40 "B" "S" 6))
(foreach item (list (list "south wall, group 1 (CLTD, F)" wallS)
                    (list "roof 3 (CLTD, F)" roof)
                    (list "south glass, zone B (SCL, Btu/h ft2)" glassS))
  (setq peak (demo-peak (cadr item)))
  (demo-line (car item) (strcat "peak " (rtos (cdr peak) 2 0) " at " (demo-hour-name (car peak)))))

;; Partial sums for room 101 at 3 pm in July: wall and glass areas times their curves.
(kv_hvac-loads-resetRoomData)
(setq at3pm (cdr (nth 14 wallS)) glass3pm (cdr (nth 14 glassS)))
(kv_hvac-loads-storeRoomData 101 6 14 "dWall" (* 0.09 120.0 at3pm) "dGlass" (* 0.55 40.0 glass3pm))
(kv_hvac-loads-storeRoomData 101 6 14 "dWall" (* 0.09 60.0 at3pm))
(demo-line "room 101, July 3 pm, stored sums"
           (vl-remove-if '(lambda (pair) (zerop (cdr pair))) (kv_hvac-loads-getRoomData 101 6 14)))

(demo-title "Flexible duct route")
(setq route (kv_hvac-getPlinePoints 6.0 -1.0 -1.0 '(420 300 96) '(470 340 96) '(540 330 96)))
(demo-line "points along the flex" (length route))
(demo-line "first and last" (list (car route) (last route)))

(demo-title "3D supply run")
;; The run's rows as the duct commands leave them in the project, linked in the layer's graph:
;; a main turning south into a wye, one leg on to its end, the other into a flexible run.
(setq demo-file (projectdb-currentFile))
(defun demo-duct (p1 p2 width depth material)
  (kvdb-execute demo-file
    (strcat "INSERT INTO tblDuct (SHAPE, OFFSET, WIDTH, DEPTH, MATERIAL, X1, Y1, Z1, X2, Y2, Z2) VALUES (\""
            (if (= material "FX") "rd" "RC") "\", \"c\", " (rtos width 2 3) ", " (rtos depth 2 3) ", \"" material "\", "
            (rtos (car p1) 2 3) ", " (rtos (cadr p1) 2 3) ", " (rtos (caddr p1) 2 3) ", "
            (rtos (car p2) 2 3) ", " (rtos (cadr p2) 2 3) ", " (rtos (caddr p2) 2 3) ")"))
  (fix (car (kvdb-query demo-file "SELECT max(ixDuct) FROM tblDuct"))))
(ductgraph-reset)
(setq main (demo-duct '(60 360 96) '(300 360 96) 14 10 "GS")
      south (demo-duct '(300 360 96) '(300 200 96) 14 10 "GS")
      legE (demo-duct '(300 200 96) '(340 160 96) 14 10 "GS")
      legW (demo-duct '(300 200 96) '(260 160 96) 14 10 "GS")
      legEnd (demo-duct '(340 160 96) '(390 110 96) 14 10 "GS")
      flex (demo-duct '(260 160 96) '(140 60 96) 6 6 "FX"))
(foreach link (list (list main south) (list south legE) (list south legW) (list legE legEnd) (list legW flex))
  (ductgraph-connect (car link) (cadr link)))
(setq built (kv_hvac-solids-build (list main south legE legW legEnd flex) 0 nil))
(demo-line "solids built from the rows" (length built))
(demo-line "solids and their volumes (in3)" (mapcar '(lambda (v) (fix v)) (kv_solid-volumes)))

(demo-title "Files")
(kvhost-save)
(demo-line "saved" (kvhost-current))
(kvhost-export-dxf "office.dxf")
(demo-line "DXF" "office.dxf")
(kvhost-plot "office.png" 1200)
(kvhost-plot "office.svg")
(demo-line "plots" "office.png office.svg")
(demo-line "STEP bodies" (kv_solid-exportStep "office.step"))
(c:checkkv)
(princ "\n")
